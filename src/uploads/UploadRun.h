#pragma once

#include "Destination.h"
#include "UploadOutcome.h"

class FTPPutController;
class UploadHistory;
class UploadQueue;

/// The upload under way: starts and stops the upload controller, and reports to the history what has become of each
/// file. The controller's delegate hands its reports on. Belongs to the main thread.
class UploadRun {
public:
    /// Both outlive the run.
    UploadRun(FTPPutController& controller, UploadHistory& history)
        : m_controller(controller)
        , m_history(history)
    {
    }

    /// Starts the first file of @p queue, which is not empty, to @p destination, or to a folder there where its path is
    /// a TreePath's. It leaves the queue before. Files below a folder that the server has just refused to make fail
    /// without being sent, for a while at a time; when all of them have, nothing is started.
    void startNext(UploadQueue& queue, const Destination& destination);
    /// Starts the file at @p path, which never stood in the queue.
    void startManually(const QString& path, const Destination& destination);
    /// Stops what is sent with the status "Upload Stopped".
    void stop();

    /// A queue begins: what the server has refused in the one before is worth another question.
    void queueBegins() { m_refusal = {}; }

    // What the controller reports.

    /// It has said a status: that of an end, when it sends no more.
    void statusReported();
    /// The server has confirmed the whole file.
    void uploadDone();

private:
    /// A folder that the server has refused to make.
    struct Refusal {
        QString folder = {}; ///< As TreePath::liesIn() takes it; null: none.
        Destination destination = {};
        bool isBound = false; ///< What was refused had a destination of its own: it was queued again.
        UploadOutcome outcome = {};
    };

    void start(const QString& path, const Destination& destination);
    bool failRefused(UploadQueue& queue, const Destination& destination);
    void end(const UploadOutcome& outcome);
    bool hasEnded() const;

    FTPPutController& m_controller;
    UploadHistory& m_history;
    QString m_path; ///< Of what was started last.
    Refusal m_refusal; ///< The last one of the queue, until something else is started.
    bool m_isStarting = false; ///< The controller is idle until it has started, whatever it says meanwhile.
};
