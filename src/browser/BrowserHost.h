#pragma once

#include "PathList.h"

/// What the actions and the dragging of items ask of the window that they belong to. Called on the main thread.
class BrowserHost {
public:
    virtual void showAlert(const QString& title, const QString& text) = 0;
    /// Whether a transfer keeps an action back; if so, an alert says which.
    virtual bool alertSendingOrReceiving() = 0;
    /// Asks for one line of text; null: none was given.
    virtual QString askInput(const QString& prompt, const QString& defaultText) = 0;
    virtual void listFTPDestination() = 0;
    /// Queues @p paths; @p leftOut came with them and are no plain files.
    virtual void uploadFiles(const PathList& paths, const QStringList& leftOut) = 0;
    /// The user has asked for something that connects to the server.
    virtual void connectionRequested() = 0;
    /// A download is about to be asked for, which begins without progress.
    virtual void downloadStarts() = 0;
    /// The download controller has been asked to start.
    virtual void downloadStarted() = 0;
    /// No download was started: what to say of it, and what to note.
    virtual void downloadRefused(const QString& status, const QString& note) = 0;

    /// An action has been done: @p text says which.
    virtual void itemDone(const QString& text) = 0;

protected:
    ~BrowserHost() = default;
};
