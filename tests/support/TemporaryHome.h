#pragma once

#include <QTemporaryDir>

/// A home folder of its own for one test program, with nothing in it but Downloads and Documents. The environment is
/// set for the rest of the process; the folder goes when this goes.
class TemporaryHome {
public:
    TemporaryHome();

    QString path() const { return m_directory.path(); }

private:
    QTemporaryDir m_directory;
};
