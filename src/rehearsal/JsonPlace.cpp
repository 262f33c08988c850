#include "rehearsal/JsonPlace.h"

#include "base/Formatted.h"

#include <algorithm>
#include <cmath>
#include <QJsonArray>
#include <QJsonObject>
#include <utility>

JsonPlace::JsonPlace(QJsonValue value, std::string path, std::string& fault)
    : m_value(std::move(value)), m_path(std::move(path)), m_fault(fault) {}

void JsonPlace::fail(const std::string& what) const {
    if (m_fault.empty())
        m_fault = m_path.empty() ? what : m_path + ": " + what;
}

void JsonPlace::allowFields(const std::vector<std::string>& names) const {
    if (!m_value.isObject()) {
        fail("is no object");
        return;
    }
    for (const QString& name : m_value.toObject().keys())
        if (std::ranges::find(names, name.toStdString()) == names.end())
            field(name.toStdString()).fail("is no field that is known here");
}

bool JsonPlace::has(const std::string& name) const {
    return m_value.toObject().contains(QString::fromStdString(name));
}

JsonPlace JsonPlace::field(const std::string& name) const {
    JsonPlace place(m_value.toObject().value(QString::fromStdString(name)),
                    m_path.empty() ? name : m_path + "." + name, m_fault);
    if (place.m_value.isUndefined())
        place.fail("is missing");
    return place;
}

std::vector<JsonPlace> JsonPlace::items() const {
    std::vector<JsonPlace> places;
    if (!m_value.isArray())
        fail("is no list");
    for (const QJsonValue& value : m_value.toArray())
        places.emplace_back(value, m_path + "[" + std::to_string(places.size()) + "]", m_fault);
    return places;
}

double JsonPlace::number(double lowest, double highest) const {
    const double number = m_value.toDouble();
    if (!m_value.isDouble())
        fail("is no number");
    else if (!(number >= lowest && number <= highest))
        fail(formatted("%.15g is not from %.15g to %.15g", number, lowest, highest));
    return failed() ? lowest : number;
}

int JsonPlace::integer(int lowest, int highest) const {
    const double read = number(lowest, highest);
    if (std::trunc(read) != read)
        fail(formatted("%.15g is no whole number", read));
    return static_cast<int>(read);
}

std::string JsonPlace::text() const {
    if (!m_value.isString())
        fail("is no text");
    else if (m_value.toString().isEmpty())
        fail("is empty");
    return m_value.toString().toStdString();
}

bool JsonPlace::flag() const {
    if (!m_value.isBool())
        fail("is neither true nor false");
    return m_value.toBool();
}

std::string JsonPlace::word(const std::vector<std::string>& words) const {
    std::string read = text();
    if (!failed() && std::ranges::find(words, read) == words.end()) {
        std::string known;
        for (const std::string& one : words)
            known += (known.empty() ? "" : ", ") + one;
        fail("\"" + read + "\" is none of " + known);
    }
    return read;
}
