#pragma once

#include <QString>
#include <QtMessageHandler>

#include <gtest/gtest.h>

/// While one lives, a warning of a library is a failure: it was used in a wrong way.
class NoWarnings {
public:
    NoWarnings() { before() = qInstallMessageHandler(handle); }
    NoWarnings(const NoWarnings&) = delete;
    NoWarnings& operator=(const NoWarnings&) = delete;
    ~NoWarnings() { qInstallMessageHandler(before()); }

private:
    static QtMessageHandler& before()
    {
        static QtMessageHandler handler = nullptr;
        return handler;
    }
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        if (type == QtWarningMsg || type == QtCriticalMsg) {
            ADD_FAILURE() << text.toStdString();
        } else {
            before()(type, context, text);
        }
    }
};
