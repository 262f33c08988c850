// app/window/PlainTip.h — tool tips that show names as they were typed.
#pragma once
#include <QString>
#include <QTextDocument>

/// A tool tip that shows `text` as it is: names of entries and devices may look like markup. Any thread.
inline QString plainTip(const QString& text) {
    if (!Qt::mightBeRichText(text))
        return text;
    return "<qt>" + text.toHtmlEscaped().replace('\n', QLatin1String("<br>")) + "</qt>";
}
