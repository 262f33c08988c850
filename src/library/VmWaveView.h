// library/VmWaveView.h — the waveform of the selected recording, on which a range is marked with the mouse.
#pragma once
#include "base/Controls.h"

#include <optional>
#include <QImage>
#include <QSize>
#include <string>
#include <string_view>

class NotificationCenter;
class SystemLog;

inline constexpr std::string_view VmSelectRangeStart_Notification = "VmSelectRangeStart_Notification";
inline constexpr std::string_view VmSelectRangeDrag_Notification = "VmSelectRangeDrag_Notification";
inline constexpr std::string_view VmSelectRangeEnd_Notification = "VmSelectRangeEnd_Notification";
inline constexpr std::string_view VmSelectRangeRelease_Notification = "VmSelectRangeRelease_Notification";
/// User-info key of the four: the range as "{location, length}".
inline constexpr std::string_view SelectedRange = "SelectedRange";

/// A stretch of the view, in points from its left edge.
struct WaveRange {
    unsigned location = 0;
    unsigned length = 0; ///< 0: no stretch
    bool operator==(const WaveRange&) const = default;

    unsigned end() const { return location + length; }
    /// "{100, 50}"
    std::string text() const;
    static std::optional<WaveRange> fromText(std::string_view text);
};

/// The view's model. The picture shown carries the marks; an unmarked copy of it serves to take them away.
///
/// Main thread only. A widget hands on mouse and keys, and draws `shownImage` when told that something changed.
class VmWaveView : public Control {
public:
    static constexpr int defaultWidth = 480; ///< points
    static constexpr int defaultHeight = 80;

    VmWaveView(NotificationCenter& notifications, SystemLog& log);

    QSize bounds() const { return m_bounds; }
    void setBounds(const QSize& bounds) { change(m_bounds, bounds); }

    // The picture
    /// Shows a picture, none if it is null, with the selected range marked; ends the wait for one.
    void setImage(const QImage& image);
    const QImage& shownImage() const { return m_shownImage; }
    const QImage& copyImage() const { return m_copyImage; }
    /// For the position line: changes made to it show at the next `setNeedsDisplay`.
    QImage& imageToDrawInto() { return m_shownImage; }
    void setNeedsDisplay() const { changed(); }
    /// From now on the picture of this sound file is waited for.
    void expectImage(const std::string& soundPath);
    /// Tells how far a picture is, 0 to 1. Told of another file than the one waited for, it does nothing.
    void setProgress(const std::string& soundPath, double progress);
    /// Nothing while no picture is waited for.
    std::optional<double> progress() const { return m_progress; }

    // The range
    static WaveRange rangeFrom(unsigned from, unsigned to);
    WaveRange selectedRange() const { return m_selectedRange; }
    void setSelectedRange(WaveRange range) { change(m_selectedRange, range); }
    void markSelectedRange(WaveRange range);
    void releaseSelectedRange(WaveRange range);
    void releaseLastSelect();
    /// Repaints the column of points at `x` from the unmarked copy, marked if it lies in the range. It shows at
    /// the next `setNeedsDisplay`.
    void renewMark(int x);
    /// Takes the selection away, its mark too, and posts the release notification without user info.
    void clearSelectedRange();
    bool selectEnabled() const { return m_selectEnabled; }
    /// A drag under way ends as if the mouse button had been let go.
    void setSelectEnabled(bool enabled);

    // Mouse and keys; `x` in view points
    void mouseDown(double x, bool shift);
    void mouseDragged(double x);
    void mouseUp();
    enum class Key { leftArrow, rightArrow, other };
    /// Whether the key was taken.
    bool performKeyEquivalent(Key key, bool shift);
    void extendRight();
    void extendLeft();
    void reduceRight();
    void reduceLeft();

private:
    enum class Direction { none = 0, right = 1, left = 2 };
    bool pickEnd(int x);
    bool beginDrag(int x);
    bool continueDrag(int x);
    WaveRange draggedRange() const;
    WaveRange markedRange() const;
    void paintMark(WaveRange range);
    void paintUnmarked(WaveRange range);
    void post(std::string_view name, WaveRange range) const;

    NotificationCenter& m_notifications;
    SystemLog& m_log;
    QSize m_bounds{defaultWidth, defaultHeight};
    QImage m_shownImage;
    std::string m_expectedSound;
    std::optional<double> m_progress;

    WaveRange m_selectedRange;
    QImage m_copyImage;
    int m_startPoint = 0;
    int m_lastPoint = 0;
    Direction m_lastDirection = Direction::none;
    bool m_dragging = false;
    bool m_selectEnabled = true;
    bool m_shiftKey = false;
    bool m_mouseIsDown = false;
};
