#include "AppDelegate.h"

#include "ApplicationService.h"
#include "BringToFront.h"
#include "DestinationSettings.h"
#include "DropIconsWindow.h"
#include "LightAppearance.h"
#include "PathText.h"
#include "RunLoop.h"
#include "SheetQueue.h"
#include "StandardFolders.h"
#include "UserDefaults.h"
#include "ViewController.h"

#include <QApplication>
#include <QClipboard>
#include <QDBusConnection>
#include <QDesktopServices>
#include <QEvent>
#include <QFile>
#include <QLoggingCategory>
#include <QMainWindow>
#include <QProcess>
#include <QSaveFile>

#include <utility>

using namespace Qt::StringLiterals;

AppDelegate* theAppDelegate = nullptr;

namespace {

Q_LOGGING_CATEGORY(appLog, "app")

constexpr int refreshDelayMs = 1000;

} // namespace

AppDelegate::AppDelegate(ViewController& viewController, QUrl website)
    : m_candidate(viewController)
    , m_website(std::move(website))
{
    viewController.window().setHasWebsite(!m_website.isEmpty());
    viewController.window().installEventFilter(this);
    const auto changed = [this](const QString& path) {
        // A file that was replaced is a new one at the same place.
        if (QFile::exists(path) && !m_watcher.files().contains(path)) {
            m_watcher.addPath(path);
        }
        updateWindowTitleAndList();
    };
    ViewController* const controller = &viewController;
    connect(controller, &ViewController::copyLocationToClipboard, this, &AppDelegate::copyLocationToClipboard);
    connect(controller, &ViewController::goToWebsite, this, &AppDelegate::goToWebsite);
    connect(controller, &ViewController::updateWindowTitleAndList, this, &AppDelegate::updateWindowTitleAndList);
    connect(controller, &ViewController::welcomeWindowRequested, this,
            [this, controller] { showWelcomeWindow(controller); });
    connect(controller, &ViewController::dropIconsWindowRequested, this, &AppDelegate::showDropIconsWindow);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, changed);
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, &AppDelegate::sessionEnds);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    useLightAppearance();
    findMainWindow();
    updateWindowTitleAndList();
    theAppDelegate = this;
    showWelcomeWindow(nullptr);
    QMetaObject::invokeMethod(
        this, [this] { m_icons.makeMissingEntries(); }, Qt::QueuedConnection);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive) {
            applicationDidBecomeActive();
        }
    });
}

void AppDelegate::applicationDidBecomeActive()
{
    if (ViewController* const controller = ourViewController()) {
        controller->appActivated();
    }
    updateWindowTitleAndList();
}

bool AppDelegate::openFiles(const PathList& paths, const QStringList& leftOut)
{
    ViewController* const controller = ourViewController();
    if (controller == nullptr || m_isQuitting) {
        return false;
    }
    controller->uploadFiles(paths, leftOut);
    return true;
}

bool AppDelegate::upload(const Drop& drop)
{
    if (m_isQuitting) {
        return false;
    }
    m_candidate.upload(drop);
    return true;
}

void AppDelegate::sessionEnds()
{
    m_sessionEnd.announce();
}

void AppDelegate::updateWindowTitleAndList()
{
    RunLoop::dispatchAfter(refreshDelayMs, this, [this] {
        findMainWindow();
        if (m_mainWindow == nullptr) {
            return;
        }
        const QString destination = DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder();
        if (destination.isNull()) {
            m_mainWindow->setWindowTitle(u"No FTP Destination"_s);
            return;
        }
        RunLoop::dispatchAfter(refreshDelayMs, this, [this, destination] {
            if (m_mainWindow != nullptr) {
                m_mainWindow->setWindowTitle(destination);
            }
            listFTPDestination();
        });
    });
}

void AppDelegate::listFTPDestination()
{
    if (ViewController* const controller = ourViewController()) {
        controller->listFTPDestination();
    }
}

ViewController* AppDelegate::ourViewController()
{
    findMainWindow();
    if (m_viewController == nullptr && m_mainWindow != nullptr) {
        m_viewController = &m_candidate;
    }
    return m_viewController;
}

bool AppDelegate::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == &m_candidate.window() && event->type() == QEvent::Close) {
        const QString warning = m_candidate.quitWarning();
        if (!warning.isNull() && !m_isQuitting && !m_sessionEnd.isNear()) {
            event->ignore();
            askWhetherToQuit(warning);
            return true;
        }
        m_candidate.window().remember();
        m_candidate.windows().remember();
        quit(); // Whatever other windows are open.
    }
    return QObject::eventFilter(watched, event);
}

void AppDelegate::askWhetherToQuit(const QString& warning)
{
    if (m_isAskingToQuit) {
        return;
    }
    m_isAskingToQuit = true;
    showMainWindow(); // A sheet of a window that is minimised would not show.
    QMainWindow& window = m_candidate.window();
    SheetQueue::of(window).raise({ .title = u"Quit Quillbox?"_s,
                                   .text = warning,
                                   .defaultButton = u"Cancel"_s,
                                   .alternateButton = u"Quit"_s,
                                   .onAlternate =
                                       [this, &window] {
                                           m_isQuitting = true;
                                           window.close();
                                       },
                                   .onDefault = [this] { m_isAskingToQuit = false; } });
}

void AppDelegate::quit()
{
    m_isQuitting = true;
    QCoreApplication::quit();
}

void AppDelegate::findMainWindow()
{
    QMainWindow& window = m_candidate.window();
    m_mainWindow = window.isVisible() ? &window : nullptr;
}

void AppDelegate::showMainWindow()
{
    if (std::exchange(m_isHidden, false)) {
        emit mainWindowAppears();
        m_candidate.window().show();
        applicationDidFinishLaunching();
    }
    findMainWindow();
    if (m_mainWindow != nullptr) {
        bringToFront(*m_mainWindow);
    }
}

void AppDelegate::showWelcomeWindow(const QObject* sender)
{
    if (ViewController* const controller = ourViewController()) {
        controller->showWelcomeWindow(sender != nullptr);
    }
}

void AppDelegate::showDropIconsWindow()
{
    if (m_dropIconsWindow == nullptr) {
        const auto start
            = [](const QStringList& words) { return QProcess::startDetached(words.first(), words.sliced(1)); };
        const auto askWhetherRuns = [](const QString& fileName, QObject* context, const auto& answer) {
            ApplicationService::askWhetherRuns(QDBusConnection::sessionBus(), fileName, context, answer);
        };
        const auto askForLastUploads
            = [this](QObject* context, const auto& answer) { m_candidate.ledger().lastUploads(context, answer); };
        m_dropIconsWindow = std::make_unique<DropIconsWindow>(
            m_icons,
            DropIconsWindow::Application{
                .forms = { .server = m_candidate.windows().serverAccess([] { return QString(); }),
                           .askWhetherRuns = askWhetherRuns },
                .start = start,
                .askForLastUploads = askForLastUploads,
            });
    }
    bringToFront(*m_dropIconsWindow);
}

void AppDelegate::copyLocationToClipboard()
{
    const QString destination = DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder();
    if (destination.isNull()) {
        QApplication::beep();
    } else {
        QApplication::clipboard()->setText(destination);
    }
}

void AppDelegate::goToWebsite()
{
    QDesktopServices::openUrl(m_website);
}

void AppDelegate::doAlert(const QString& message, const QString& added, QWidget* parentWindow,
                          AlertDialog::Style alertStyle)
{
    QApplication::beep();
    if (parentWindow != nullptr) {
        SheetQueue::of(*parentWindow).raise({ .title = message, .text = added });
        return;
    }
    AlertDialog alert(message, added);
    alert.setWindowModality(Qt::ApplicationModal);
    alert.setAlertStyle(alertStyle); // Kept: the style counts only here.
    alert.exec();
}

void AppDelegate::defaultsDidChangeHandler()
{
    qCInfo(appLog, "****************      defaultsDidChangeHandler        **************");
}

void AppDelegate::startDispatchSource(const QString& path)
{
    if (QFile(path).open(QIODevice::ReadOnly)) {
        m_watcher.addPath(path);
    }
}

QString AppDelegate::documentsPathForDestination() const
{
    return PathText::appendingPathComponent(documentsDirectoryPath(), u"FTPDestination"_s);
}

void AppDelegate::saveDestinationFolderName() const
{
    const QString destination = DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder();
    QSaveFile file(documentsPathForDestination());
    if (file.open(QIODevice::WriteOnly)) {
        file.write((destination.isNull() ? u"Quillbox"_s : destination).toUtf8());
        file.commit();
    }
}

QString AppDelegate::defaultFilePath() const
{
    const QString path = UserDefaults::standard().filePath();
    return QFile::exists(path) ? path : QString();
}
