#include "rehearsal/JsonLine.h"

#include "base/Formatted.h"

#include <QString>

std::string JsonLine::quoted(std::string_view text) {
    // Bytes that are no UTF-8 become replacement characters: a line is always valid.
    const std::string valid = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toStdString();
    std::string result = "\"";
    for (const char letter : valid) {
        if (letter == '"' || letter == '\\')
            result += '\\';
        if (static_cast<unsigned char>(letter) < 0x20)
            result += formatted("\\u%04x", letter);
        else
            result += letter;
    }
    return result + "\"";
}

std::string JsonLine::numeral(double value) {
    return formatted("%.15g", value);
}

JsonLine& JsonLine::raw(std::string_view name, std::string_view json) {
    if (!m_fields.empty())
        m_fields += ',';
    m_fields.append(quoted(name)).append(":").append(json);
    return *this;
}

JsonLine& JsonLine::texts(std::string_view name, const std::vector<std::string>& values) {
    std::string list = "[";
    for (const std::string& value : values)
        list.append(list.size() > 1 ? "," : "").append(quoted(value));
    return raw(name, list + "]");
}

JsonLine& JsonLine::object(std::string_view name, const std::map<std::string, std::string>& values) {
    JsonLine inner;
    for (const auto& [key, value] : values)
        inner.text(key, value);
    return raw(name, inner.finished());
}
