#pragma once

#include <QLocale>

/// Gives the program another locale for as long as it lives.
class LocaleScope {
public:
    explicit LocaleScope(const QLocale& locale) { QLocale::setDefault(locale); }
    LocaleScope(const LocaleScope&) = delete;
    LocaleScope& operator=(const LocaleScope&) = delete;
    ~LocaleScope() { QLocale::setDefault(m_before); }

private:
    QLocale m_before;
};
