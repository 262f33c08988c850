// app/window/Follow.h — a widget that shows its control.
#pragma once
#include <QPointer>
#include <utility>

/// Calls `show(control, widget)` now and after every change, for as long as the widget lives. Main thread only.
template <typename Model, typename Widget, typename Show>
void follow(Model& control, Widget& widget, Show show) {
    show(control, widget);
    control.observe([&control, guarded = QPointer<Widget>(&widget), show = std::move(show)] {
        if (guarded)
            show(control, *guarded);
    });
}
