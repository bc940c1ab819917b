#include "HiddenRun.h"

#include "AppDelegate.h"
#include "RequestedUploads.h"
#include "TerminationSignals.h"
#include "UploadsService.h"
#include "ViewController.h"

#include <chrono>
#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto reportLimit = 3s; ///< Somebody who does not read the report keeps nobody's program that is to end.

} // namespace

HiddenRun::HiddenRun(const Parts& parts, const QStringList& files)
    : m_parts(parts)
    , m_files(files)
    , m_report(files)
{
    std::signal(SIGPIPE, SIG_IGN); // The files go up also when nobody reads what becomes of them.
    m_parts.delegate.hide();
    m_parts.viewController.pump().setSeen(false);
    connect(&m_parts.viewController, &ViewController::alertUnseen, this,
            [this](const QString& title, const QString& text) { m_report.problem(alertLine(title, text)); });
    connect(&m_parts.viewController.history(), &UploadHistory::queueDrained, this, &HiddenRun::endIfIdle,
            Qt::QueuedConnection);
    auto* const termination = new TerminationSignals;
    termination->setParent(this);
    connect(termination, &TerminationSignals::received, &m_parts.delegate, &AppDelegate::quit);
}

void HiddenRun::begin()
{
    m_watch = m_parts.uploads.begin(m_files, true);
    if (m_watch == nullptr) {
        m_report.rest(u"Not taken"_s);
        QMetaObject::invokeMethod(this, &HiddenRun::endIfIdle, Qt::QueuedConnection); // The loop does not run yet.
        return;
    }
    connect(m_watch.get(), &RequestWatch::ended, this, [this](const QList<FileEnd>& files) { m_report.ended(files); });
    connect(m_watch.get(), &RequestWatch::corrected, this,
            [this](const QList<FileEnd>& files) { m_report.corrected(files); });
    connect(m_watch.get(), &RequestWatch::over, this, &HiddenRun::endIfIdle, Qt::QueuedConnection);
}

void HiddenRun::endIfIdle()
{
    if (isIdle()) {
        m_report.whenPrinted(this, [this] { // Others may have brought files meanwhile.
            if (isIdle()) {
                m_parts.delegate.quit();
            }
        });
    }
}

bool HiddenRun::isIdle() const
{
    const bool isOver = m_watch == nullptr || m_watch->isOver();
    return m_parts.delegate.isHidden() && isOver && m_parts.service.isIdle()
        && !m_parts.viewController.history().isQueueUnderWay();
}

int HiddenRun::finish()
{
    if (m_watch != nullptr && !m_watch->isOver()) {
        m_watch->programEnds();
        if (!m_watch->haveAllJoined()) {
            m_report.rest(u"Not confirmed: Quillbox ended"_s);
        }
    }
    const bool haveAllArrived = m_watch != nullptr && m_watch->haveAllArrived();
    return m_report.finish(reportLimit) && haveAllArrived ? 0 : 1;
}
