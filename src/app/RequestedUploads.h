#pragma once

#include "PathList.h"
#include "RequestWatch.h"

#include <memory>

class AppDelegate;
class ViewController;

/// Uploads on behalf of those who wait for them. Belongs to the main thread.
class RequestedUploads {
public:
    /// Both outlive it.
    RequestedUploads(ViewController& viewController, AppDelegate& delegate)
        : m_viewController(viewController)
        , m_delegate(delegate)
    {
    }

    /// Has @p files join the queue, and answers what follows them. For attended ones the window comes to the front.
    /// Null when the program ends.
    std::unique_ptr<RequestWatch> begin(const PathList& files, bool areUnattended);

private:
    ViewController& m_viewController;
    AppDelegate& m_delegate;
    quint32 m_last = 0;
};
