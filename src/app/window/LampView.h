// app/window/LampView.h — the level meter's 20 lamps.
#pragma once
#include "base/Controls.h"

#include <array>
#include <QWidget>

/// Lamps one above the other, red at the top, with a mark at the start level.
class LampView : public QWidget {
public:
    explicit LampView(QWidget* parent = nullptr);

    void setLit(int index, bool lit);
    bool isLit(int index) const { return m_lit[static_cast<std::size_t>(index)]; }
    /// Height of the highest lit lamp, 0 to 20.
    int highestLit() const;
    void setStartLevel(int level);
    int startLevel() const { return m_startLevel; }

    QRect lampRect(int index) const;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::array<bool, LampColumn::count> m_lit{};
    int m_startLevel = 0;
};
