#pragma once

#include <QByteArray>

#include <optional>

/// Gives a variable of the environment another value, or none, for as long as it lives.
class EnvironmentValue {
public:
    EnvironmentValue(const char* name, const std::optional<QByteArray>& value)
        : m_name(name)
        , m_before(qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt)
    {
        set(value);
    }
    EnvironmentValue(const EnvironmentValue&) = delete;
    EnvironmentValue& operator=(const EnvironmentValue&) = delete;
    ~EnvironmentValue() { set(m_before); }

    void set(const std::optional<QByteArray>& value)
    {
        if (value) {
            qputenv(m_name, *value);
        } else {
            qunsetenv(m_name);
        }
    }

private:
    const char* m_name;
    std::optional<QByteArray> m_before;
};
