#pragma once

#include "Destination.h"

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

    /// Starts the first file of @p queue, which is not empty, to @p destination. It leaves the queue before.
    void startNext(UploadQueue& queue, const Destination& destination);
    /// Starts the file at @p path, which never stood in the queue.
    void startManually(const QString& path, const Destination& destination);
    /// Stops what is sent with the status "Upload Stopped".
    void stop();

    // What the controller reports.

    /// It has said a status: that of an end, when it sends no more.
    void statusReported();
    /// The server has confirmed the whole file.
    void uploadDone();

private:
    void start(const QString& path, const Destination& destination);
    bool hasEnded() const;

    FTPPutController& m_controller;
    UploadHistory& m_history;
    bool m_isStarting = false; ///< The controller is idle until it has started, whatever it says meanwhile.
};
