// app/window/ScreenReader.h — what the toolkit does not tell screen readers by itself.
#pragma once

class QComboBox;

/// Main thread only.
namespace ScreenReader {
/// From now on a window that is a plain widget is told to be one. Calling it again changes nothing.
void tellWindows();

/// Tells the accessible name of `box`, which has its parent already: the toolkit tells the choice in its place,
/// and leaves the name to a label beside the box. The one that is made is not seen.
void tellName(QComboBox& box);
} // namespace ScreenReader
