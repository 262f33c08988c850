// app/window/SourceBox.h — the choice of the input.
#pragma once
#include <QComboBox>
#include <QString>

/// A combo box that shortens a long name with an ellipsis and tells it in full in the tool tip.
class SourceBox : public QComboBox {
public:
    explicit SourceBox(QWidget* parent = nullptr);

    void setTip(const QString& tip);
    void setSources(const QStringList& names, int selected);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_tip;
};
