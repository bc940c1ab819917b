#pragma once

#include "EnvironmentValue.h"

#include <QTemporaryDir>

#include <list>

/// A home folder of its own for a test program, or for one test, with nothing in it but Downloads and Documents. When
/// this goes, the folder goes and the environment is as before.
class TemporaryHome {
public:
    TemporaryHome();

    QString path() const { return m_directory.path(); }

private:
    QTemporaryDir m_directory;
    std::list<EnvironmentValue> m_environment;
};
