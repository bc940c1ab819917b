#include "RequestedUploads.h"

#include "AppDelegate.h"
#include "ViewController.h"

std::unique_ptr<RequestWatch> RequestedUploads::begin(const PathList& files, bool areUnattended)
{
    if (!areUnattended) {
        m_delegate.showMainWindow();
    }
    const UploadRequest request{ ++m_last, areUnattended };
    auto watch = std::make_unique<RequestWatch>(m_viewController.history(), m_viewController.intake(), request);
    return m_delegate.upload({ files, {}, request }) ? std::move(watch) : nullptr;
}
