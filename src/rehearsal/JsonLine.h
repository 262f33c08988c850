// rehearsal/JsonLine.h — one line of JSON, its fields in the order in which they are added.
#pragma once
#include <map>
#include <string>
#include <string_view>
#include <vector>

class JsonLine {
public:
    JsonLine& text(std::string_view name, std::string_view value) { return raw(name, quoted(value)); }
    /// With up to 15 digits; a whole number has no point.
    JsonLine& number(std::string_view name, double value) { return raw(name, numeral(value)); }
    /// `json` is JSON already.
    JsonLine& raw(std::string_view name, std::string_view json);
    JsonLine& texts(std::string_view name, const std::vector<std::string>& values);
    JsonLine& object(std::string_view name, const std::map<std::string, std::string>& values);
    std::string finished() const { return "{" + m_fields + "}"; }

    static std::string quoted(std::string_view text);
    static std::string numeral(double value);

private:
    std::string m_fields;
};
