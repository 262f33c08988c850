// rehearsal/JsonPlace.h — a value in a JSON text, and where it stands.
#pragma once
#include <QJsonValue>
#include <string>
#include <vector>

/// Reads a JSON value strictly. The first thing that is wrong is kept as "path: what is wrong"; from then on
/// reads yield empty values, so that a reader need not look after each of them.
class JsonPlace {
public:
    /// `fault` outlives this and all places below it. It is empty as long as nothing is wrong.
    JsonPlace(QJsonValue value, std::string path, std::string& fault);

    const std::string& path() const { return m_path; }
    const QJsonValue& value() const { return m_value; }
    void fail(const std::string& what) const;
    bool failed() const { return !m_fault.empty(); }

    // Objects
    /// Fails if this is no object or has a field that is not among `names`.
    void allowFields(const std::vector<std::string>& names) const;
    bool has(const std::string& name) const;
    /// Fails if it is missing.
    JsonPlace field(const std::string& name) const;

    // Values
    std::vector<JsonPlace> items() const;
    double number(double lowest, double highest) const;
    int integer(int lowest, int highest) const;
    std::string text() const; ///< not empty
    bool flag() const;
    /// One of `words`.
    std::string word(const std::vector<std::string>& words) const;

private:
    QJsonValue m_value;
    std::string m_path;
    std::string& m_fault;
};
