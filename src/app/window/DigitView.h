// app/window/DigitView.h — a running time that does not jitter.
#pragma once
#include <QLabel>

/// Draws its text with all digits equally wide, whatever the font.
class DigitView : public QLabel {
public:
    /// `name` is what the time is, for a screen reader.
    explicit DigitView(QString name, QWidget* parent = nullptr);

    void showDigits(const QString& text);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int advance(QChar character) const;

    const QString m_name;
};
