#pragma once

#include "StreamController.h"

/// Receives the reports of one FTPCreateController, on the thread that started the creation.
class FTPCreateControllerDelegate {
public:
    /// What the creation is doing, or how it has ended: only this text reports success and failure.
    virtual void updateStatus(const QString& status) = 0;
    /// The status that follows is about what @p answers are to: for a delegate that several controllers report to.
    virtual void statusIsAbout(const ServerAnswers& /*answers*/) { }

protected:
    ~FTPCreateControllerDelegate() = default;
};

/// Creates one folder in a folder on an FTP server, driven by stream events on the thread that starts it, which is the
/// main thread.
class FTPCreateController final : public StreamController<FTPWriteStream> {
public:
    /// @p streams makes the network streams and outlives the controller.
    explicit FTPCreateController(FTPStreamFactory& streams);
    ~FTPCreateController() override; ///< Stops with the status "Stopped".

    WeakRef<FTPCreateControllerDelegate> delegate() const { return m_delegate; }
    void setDelegate(WeakRef<FTPCreateControllerDelegate> delegate);

    /// Starts to create the folder @p name, with or without a "/" at its end, in the folder @p destination. While one
    /// is being created, only an alert says so, a second later. Without both user name and password (null or empty) the
    /// login is anonymous.
    void startCreate(const QString& name, const QString& destination, const QString& username, const QString& password);
    /// Ends the creation and reports @p status; null means that the folder has been created.
    void stopCreateWithStatus(const QString& status);

    bool isCreating() const { return networkStream() != nullptr; }

private:
    void handleStreamEvent(FTPStreamEvent event) override;
    void reportStatus(const QString& status) override { updateStatus(status); }
    void stopWithStatus(const QString& status) override { stopCreateWithStatus(status); }

    void createDidStart();
    void createDidStopWithStatus(const QString& status);
    void updateStatus(const QString& status);

    FTPStreamFactory& m_streams;
    WeakRef<FTPCreateControllerDelegate> m_delegate;
};
