#pragma once

#include <QString>
#include <QStringList>
#include <quillbox/FMServer.h>

#include <memory>
#include <optional>

/// What somebody has asked for.
struct CommandLine {
    std::shared_ptr<FMServer> server;
    QString operation;
    QStringList arguments; ///< As many as the operation takes.
};

/// Reads the command line. Says what is wrong with it, or what was asked about it, and ends the program then.
CommandLine readCommandLine();
