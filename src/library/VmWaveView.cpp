#include "library/VmWaveView.h"

#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"

#include <algorithm>
#include <charconv>
#include <QColor>
#include <QPainter>

namespace {
/// Added to what lies below: amber on the black ground, pale on the cyan wave; the white grid stays white.
const QColor overlayColor(118, 66, 0);

QRect rectangleOf(WaveRange range, const QImage& image) {
    return {static_cast<int>(range.location), 0, static_cast<int>(range.length), image.height()};
}

bool takeNumber(std::string_view& text, unsigned& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

bool take(std::string_view& text, std::string_view part) {
    if (!text.starts_with(part))
        return false;
    text.remove_prefix(part.size());
    return true;
}
} // namespace

std::string WaveRange::text() const {
    return formatted("{%u, %u}", location, length);
}

std::optional<WaveRange> WaveRange::fromText(std::string_view text) {
    WaveRange range;
    if (take(text, "{") && takeNumber(text, range.location) && take(text, ", ") &&
        takeNumber(text, range.length) && text == "}")
        return range;
    return std::nullopt;
}

VmWaveView::VmWaveView(NotificationCenter& notifications, SystemLog& log)
    : m_notifications(notifications), m_log(log) {}

void VmWaveView::setImage(const QImage& image) {
    m_expectedSound.clear();
    m_progress.reset();
    m_copyImage = image.convertToFormat(QImage::Format_RGB32);
    m_shownImage = m_copyImage;
    markSelectedRange(markedRange());
    changed();
}

void VmWaveView::expectImage(const std::string& soundPath) {
    if (m_expectedSound == soundPath)
        return;
    m_expectedSound = soundPath;
    m_progress = 0.0;
    changed();
}

void VmWaveView::setProgress(const std::string& soundPath, double progress) {
    if (m_expectedSound.empty() || soundPath != m_expectedSound)
        return;
    m_progress = std::clamp(progress, 0.0, 1.0);
    changed();
}

WaveRange VmWaveView::rangeFrom(unsigned from, unsigned to) {
    const auto [least, greatest] = std::minmax(from, to);
    return {least, greatest - least};
}

void VmWaveView::markSelectedRange(WaveRange range) {
    if (range.length == 0 || m_shownImage.isNull())
        return;
    paintMark(range);
    changed();
}

void VmWaveView::paintMark(WaveRange range) {
    QPainter painter(&m_shownImage);
    painter.setCompositionMode(QPainter::CompositionMode_Plus);
    painter.fillRect(rectangleOf(range, m_shownImage), overlayColor);
}

void VmWaveView::releaseSelectedRange(WaveRange range) {
    if (range.length == 0 || m_shownImage.isNull())
        return;
    paintUnmarked(range);
    changed();
}

void VmWaveView::paintUnmarked(WaveRange range) {
    const QRect rectangle = rectangleOf(range, m_shownImage);
    QPainter painter(&m_shownImage);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(rectangle.topLeft(), m_copyImage, rectangle);
}

void VmWaveView::releaseLastSelect() {
    releaseSelectedRange(m_selectedRange);
}

void VmWaveView::renewMark(int x) {
    if (x < 0 || x >= m_shownImage.width())
        return;
    const auto column = static_cast<unsigned>(x);
    const WaveRange marked = markedRange();
    paintUnmarked({column, 1});
    if (column >= marked.location && column < marked.end())
        paintMark({column, 1});
}

void VmWaveView::clearSelectedRange() {
    releaseLastSelect();
    setSelectedRange({});
    m_notifications.post({std::string(VmSelectRangeRelease_Notification), {}, {}});
}

void VmWaveView::setSelectEnabled(bool enabled) {
    if (!enabled && m_mouseIsDown)
        mouseUp();
    change(m_selectEnabled, enabled);
}

void VmWaveView::mouseDown(double x, bool shift) {
    if (!m_selectEnabled)
        return;
    m_startPoint = m_lastPoint = std::clamp(static_cast<int>(x), 0, m_bounds.width());
    m_dragging = false;
    m_mouseIsDown = true;
    m_shiftKey = shift;
    if (shift)
        return;
    releaseLastSelect();
    post(VmSelectRangeStart_Notification, draggedRange());
}

void VmWaveView::mouseDragged(double x) {
    if (!m_selectEnabled || !m_mouseIsDown || x < 0.0 || x > m_bounds.width())
        return;
    const int point = static_cast<int>(x);
    if (m_shiftKey) {
        if (pickEnd(point))
            m_lastPoint = point;
        return;
    }
    if (m_dragging ? !continueDrag(point) : !beginDrag(point))
        return;
    m_lastPoint = point;
    post(VmSelectRangeDrag_Notification, draggedRange());
}

/// The first step of a drag with Shift: which end of the range it moves. False when it lies at neither.
bool VmWaveView::pickEnd(int x) {
    const auto head = static_cast<int>(m_selectedRange.location);
    const auto tail = static_cast<int>(m_selectedRange.end());
    if (x == head) {
        m_startPoint = tail;
        m_lastDirection = m_selectedRange.length == 0 ? Direction::right : Direction::left;
    } else if (x == tail) {
        m_startPoint = head;
        m_lastDirection = Direction::right;
    } else {
        return false;
    }
    m_shiftKey = false;
    m_dragging = true;
    return true;
}

bool VmWaveView::beginDrag(int x) {
    m_lastDirection = x > m_startPoint   ? Direction::right
                      : x < m_startPoint ? Direction::left
                                         : Direction::none;
    if (m_lastDirection == Direction::none)
        return false;
    markSelectedRange(rangeFrom(static_cast<unsigned>(m_startPoint), static_cast<unsigned>(x)));
    m_dragging = true;
    return true;
}

bool VmWaveView::continueDrag(int x) {
    if (x == m_lastPoint)
        return false;
    const auto start = static_cast<unsigned>(m_startPoint);
    const auto last = static_cast<unsigned>(m_lastPoint);
    const auto now = static_cast<unsigned>(x);
    const Direction direction = x > m_lastPoint ? Direction::right : Direction::left;
    const bool crossed = direction == Direction::right ? x > m_startPoint : x < m_startPoint;
    if (direction == m_lastDirection) {
        markSelectedRange(rangeFrom(last, now));
    } else if (crossed) {
        releaseSelectedRange(rangeFrom(last, start));
        markSelectedRange(rangeFrom(start, now));
        m_lastDirection = direction;
    } else {
        releaseSelectedRange(rangeFrom(last, now));
        if (x == m_startPoint)
            m_dragging = false;
    }
    return true;
}

void VmWaveView::mouseUp() {
    if (!m_selectEnabled || !m_mouseIsDown)
        return;
    m_mouseIsDown = false;
    if (m_shiftKey)
        releaseLastSelect(); // neither end was taken: the old range ends, and so does its mark
    m_shiftKey = false;
    const WaveRange range = draggedRange();
    setSelectedRange(range);
    post(range.length != 0 ? VmSelectRangeEnd_Notification : VmSelectRangeRelease_Notification, range);
}

/// What carries the mark now.
WaveRange VmWaveView::markedRange() const {
    return m_mouseIsDown && !m_shiftKey ? draggedRange() : m_selectedRange;
}

WaveRange VmWaveView::draggedRange() const {
    return rangeFrom(static_cast<unsigned>(m_startPoint), static_cast<unsigned>(m_lastPoint));
}

void VmWaveView::post(std::string_view name, WaveRange range) const {
    m_notifications.post({std::string(name), {}, {{std::string(SelectedRange), range.text()}}});
}

bool VmWaveView::performKeyEquivalent(Key key, bool shift) {
    switch (key) {
    case Key::rightArrow:
        shift ? reduceLeft() : extendRight();
        return true;
    case Key::leftArrow:
        shift ? reduceRight() : extendLeft();
        return true;
    case Key::other:
        return false;
    }
    return false;
}

void VmWaveView::extendRight() {
    m_log.log("extendRight");
}

void VmWaveView::extendLeft() {
    m_log.log("extendLeft");
}

void VmWaveView::reduceRight() {
    m_log.log("reduceRight");
}

void VmWaveView::reduceLeft() {
    m_log.log("reduceLeft");
}
