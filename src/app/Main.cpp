#include "AlertDialog.h"
#include "AppDelegate.h"
#include "ApplicationService.h"
#include "CertificateSheets.h"
#include "ClipboardHandOver.h"
#include "CommandLine.h"
#include "CoreDump.h"
#include "DelayedAlert.h"
#include "DesktopIntegration.h"
#include "Display.h"
#include "DropIcons.h"
#include "EngineConnections.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "HiddenRun.h"
#include "HiddenTurn.h"
#include "IconCommands.h"
#include "IconSettings.h"
#include "KnownTrust.h"
#include "LightAppearance.h"
#include "LocalPath.h"
#include "PrivateFile.h"
#include "ProgramIdentity.h"
#include "ProgramName.h"
#include "RememberedTrust.h"
#include "RequestedUploads.h"
#include "SettingNames.h"
#include "SettingsAlert.h"
#include "StandardFolders.h"
#include "StandardStreams.h"
#include "TrustedCertificates.h"
#include "UploadCommand.h"
#include "UploadsService.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "VisibleText.h"

#include <QApplication>
#include <QByteArrayList>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QLocale>
#include <QMainWindow>
#include <QScopeGuard>
#include <QTextStream>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto clipboardLimit = 2s; ///< A clipboard manager that hangs keeps nobody's program.
constexpr auto ledgerLimit = 3s; ///< Nor does a disk that hangs.

/// The program's name alone. The toolkit has options of its own, which it reads behind "--" too: by files of such names
/// a folder of somebody else's would choose the plug-ins that are loaded.
int wordsForToolkit = 1;

/// Ends the process when a program of our name runs: with 0 when that has the files in its queue. Otherwise with 1,
/// having said which files those are, and whether they may still be taken.
void handOver(const CommandLine& commandLine, const QDBusConnection& bus)
{
    using HandOver = ApplicationService::HandOver;
    const HandOver result = ApplicationService::handOver(bus, programFileName(), commandLine.files, commandLine.action);
    if (result == HandOver::NobodyRuns) {
        return;
    }
    if (result == HandOver::Taken) {
        std::_Exit(0);
    }
    {
        const bool isRefused = result == HandOver::Refused;
        QTextStream err(stderr);
        err << "Quillbox: The window that is open "
            << (isRefused ? "refuses what it is asked." : "does not answer; it may do so later, or never.") << '\n';
        for (const QString& file : commandLine.files) {
            err << (isRefused ? "Not taken: " : "Not known whether taken: ") << wholeVisibleText(file) << '\n';
        }
    }
    std::_Exit(1);
}

/// The same, also for those who wait until the files are over, or want no window. A program of our name that goes to
/// another server gets nothing: a window is opened beside it.
void handOverAll(const CommandLine& commandLine, HiddenTurn& turn)
{
    // A connection of its own, since this may come before the application that the shared one belongs to.
    static const QString connectionName = u"handOver"_s;
    const auto disconnect = qScopeGuard([] { QDBusConnection::disconnectFromBus(connectionName); });
    const QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName);
    if (commandLine.isReported()) {
        UploadCommand::run(commandLine, turn, bus);
    } else if (!ApplicationService::hasOtherServer(bus, programFileName())) {
        handOver(commandLine, bus);
    }
}

/// Where no display can be reached, as in a session that has outlived its own, the toolkit gets one that nobody sees.
void doWithoutDisplay()
{
    QByteArrayList platforms{ "offscreen" };
    if (hasDisplay() && !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        platforms.prepend(qgetenv("QT_QPA_PLATFORM"));
    } else { // The toolkit's own order.
        for (const auto& [display, platform] :
             { std::pair("DISPLAY", "xcb"), std::pair("WAYLAND_DISPLAY", "wayland") }) {
            if (!qEnvironmentVariableIsEmpty(display)) {
                platforms.prepend(platform);
            }
        }
    }
    qputenv("QT_QPA_PLATFORM", platforms.join(';'));
}

/// What the application is known by, and the direction that it is read in.
void takeIdentity()
{
    QGuiApplication::setLayoutDirection(QLocale().textDirection());
    ProgramIdentity::apply(programFileName());
}

/// Says in a window of its own what nobody reads that a launcher's program prints.
void show(const SettingsAlert& alert, char** argv)
{
    const QApplication application(wordsForToolkit, argv);
    takeIdentity();
    useLightAppearance();
    AlertDialog(alert.title, alert.text).exec();
}

/// Ends the process with @p status, or with 1 where what it has printed could not be written.
[[noreturn]] void exitPrinted(int status)
{
    const bool isPrinted = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    std::exit(isPrinted ? status : 1);
}

/// What the command line asks for, read without a display; ends the process when nothing is left to do.
CommandLine readCommandLine(int argc, char** argv, HiddenTurn& turn)
{
    QStringList words;
    std::transform(argv, argv + argc, std::back_inserter(words), LocalPath::fromBytes);
    std::optional<QCoreApplication> application(std::in_place, wordsForToolkit, argv);
    int exitCode = 0;
    std::optional<CommandLine> commandLine = CommandLine::read(words, QStringLiteral(QUILLBOX_VERSION), exitCode);
    if (!commandLine) {
        exitPrinted(exitCode);
    }
    if (const std::optional<SettingsAlert> refusal = IconCommands::useSettings(*commandLine)) {
        if (hasDisplay() && commandLine->opensWindow()) {
            application.reset(); // There is one at a time.
            show(*refusal, argv);
        }
        std::exit(1);
    }
    if (commandLine->listsIcons || !commandLine->icon.isNull()) {
        const DropIcons icons(DropIcons::ourProgramPath(), DropIcons::Folders::standard());
        if (commandLine->listsIcons) {
            IconCommands::list(icons);
            exitPrinted(0);
        }
        IconCommands::becomeIcon(icons, *commandLine);
        std::exit(1);
    }
    handOverAll(*commandLine, turn);
    return *std::move(commandLine);
}

/// Does what the launcher's action @p name says; names that are not known, or none, do nothing.
void act(ViewController& viewController, const QString& name)
{
    if (name == u"preferences"_s) {
        viewController.windows().showPreferences();
    }
}

/// Has the window tell when others have access to @p settings.
void watchAccess(UserDefaults& settings, ViewController& viewController)
{
    settings.setOpenFileHandler([&viewController, path = settings.filePath()](PrivateFile::Access access) {
        const SettingsAlert alert = SettingsAlert::open(path, access);
        viewController.showAlert(alert.title, alert.text);
    });
}

/// Has the window tell what is wrong with @p settings.
void watchSettings(UserDefaults& settings, SettingsAlert (*broken)(const UserDefaults& settings),
                   ViewController& viewController)
{
    settings.setBrokenFileHandler([&viewController, broken, &settings] {
        const SettingsAlert alert = broken(settings);
        viewController.showAlert(alert.title, alert.text);
    });
    watchAccess(settings, viewController);
}

void warnOfOpenTrust(ViewController& viewController, PrivateFile::Access access)
{
    const SettingsAlert alert = SettingsAlert::openTrust(TrustedCertificates::standard().filePath(), access);
    if (!alert.title.isNull()) {
        viewController.showAlert(alert.title, alert.text);
    }
}

/// The history is kept unless the user wants none.
void openLedger(ViewController& viewController)
{
    UploadLedger& ledger = viewController.ledger();
    QObject::connect(&ledger, &UploadLedger::problemFound, &viewController, [&viewController](bool isNews) {
        if (isNews) {
            viewController.showAlert(u"History Not Kept"_s, viewController.ledger().problem());
        }
    });
    const bool isKept = UserDefaults::standard().boolean(SettingNames::keepHistory).value_or(true);
    ledger.open(isKept ? UploadLedger::standardPath() : QString(), programFileName());
}

} // namespace

int main(int argc, char** argv)
{
    openStandardStreams();
    ignoreRelativeFolders();
    keepMemoryOutOfCoreDumps();
    QCoreApplication::setApplicationName(u"quillbox"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLBOX_VERSION));
    HiddenTurn turn;
    const CommandLine commandLine = readCommandLine(argc, argv, turn);
    // Before settings are read, which closes their folders.
    TrustedCertificates::standard().noteAccess();
    const std::vector<std::unique_ptr<UserDefaults>> iconSettings = IconSettings::all();
    for (const auto& each : iconSettings) {
        each->noteAccess();
    }

    if (commandLine.isHidden) {
        doWithoutDisplay();
    }
    const QApplication application(wordsForToolkit, argv);
    takeIdentity();
    CertificateSheets certificateSheets;
    RememberedTrust trust(TrustedCertificates::standard(), certificateSheets);
    FTPEngine engine;
    KnownTrust knownTrust(TrustedCertificates::standard());
    EngineStreamFactory streams(engine, trust, &knownTrust);
    EngineConnections connections(engine, &trust);
    ViewController viewController(streams, connections);
    QObject::connect(&viewController, &ViewController::userRequestedConnection, &viewController,
                     [&trust] { trust.forgetRefusals(); });
    AppDelegate delegate(viewController, QUrl(QStringLiteral(QUILLBOX_WEBSITE)));
    const auto letCertificatesBeAskedAbout = [&] { certificateSheets.setWindow(viewController.window()); };
    RequestedUploads requestedUploads(viewController, delegate);
    std::optional<HiddenRun> hiddenRun;
    UploadsService uploadsService(
        &delegate, QDBusConnection::sessionBus(),
        {
            .upload = [&requestedUploads](const PathList& files,
                                          bool areUnattended) { return requestedUploads.begin(files, areUnattended); },
            .becameIdle =
                [&hiddenRun] {
                    if (hiddenRun) {
                        hiddenRun->endIfIdle();
                    }
                },
        });
    ApplicationService service(
        &delegate,
        {
            .activate = [&delegate] { delegate.showMainWindow(); },
            .open = [&delegate](const PathList& files,
                                const QStringList& others) { return delegate.openFiles(files, others); },
            .action = [&viewController](const QString& name) { act(viewController, name); },
        });
    DesktopIntegration desktop(viewController, programFileName(),
                               {
                                   .sessionBus = [] { return QDBusConnection::sessionBus(); },
                                   .systemBus = [] { return QDBusConnection::systemBus(); },
                                   .isInFront =
                                       [&delegate] {
                                           return delegate.isHidden()
                                               || QGuiApplication::applicationState() == Qt::ApplicationActive;
                                       },
                               });
    QObject::connect(&desktop, &DesktopIntegration::activated, &delegate, &AppDelegate::showMainWindow);
    setDelayedAlertPresenter([&viewController](const QString& message, const QString& informative) {
        viewController.showAlert(message, informative);
    });
    watchSettings(UserDefaults::standard(), &SettingsAlert::broken, viewController);
    if (IconSettings::areInUse()) {
        watchSettings(connectionSettings(), &SettingsAlert::iconBroken, viewController);
    }
    for (const auto& each : iconSettings) {
        if (each->filePath() != connectionSettings().filePath()) {
            watchAccess(*each, viewController);
        }
    }
    TrustedCertificates::standard().setOpenFileHandler(
        [&viewController](PrivateFile::Access access) { warnOfOpenTrust(viewController, access); });

    // Where nobody could see the window, no other start may ask for it.
    const bool isVisible = !commandLine.isHidden || QGuiApplication::platformName() != u"offscreen"_s;
    if (isVisible && !service.registerFor(QDBusConnection::sessionBus(), programFileName())) {
        handOverAll(commandLine, turn); // Another start was quicker.
    }
    UserDefaults::standard().removeUnfinishedStores();
    connectionSettings().removeUnfinishedStores();
    TrustedCertificates::standard().removeUnfinishedStores();
    if (commandLine.isHidden) {
        hiddenRun.emplace(HiddenRun::Parts{ viewController, delegate, requestedUploads, uploadsService },
                          commandLine.files);
        QObject::connect(&delegate, &AppDelegate::mainWindowAppears, &delegate, letCertificatesBeAskedAbout);
        QObject::connect(&delegate, &AppDelegate::mainWindowAppears, &delegate, [&turn] { turn.giveUp(); });
    } else {
        letCertificatesBeAskedAbout();
        viewController.window().show();
    }
    openLedger(viewController);
    if (hiddenRun) {
        hiddenRun->begin();
    } else {
        delegate.applicationDidFinishLaunching();
        if (!commandLine.files.isEmpty()) {
            delegate.openFiles(commandLine.files);
        }
        act(viewController, commandLine.action);
    }

    int result = QApplication::exec();
    if (hiddenRun) {
        result = hiddenRun->finish();
    }
    uploadsService.programEnds();
    handOverClipboard(clipboardLimit);
    viewController.ledger().close(ledgerLimit);
    std::fflush(nullptr);
    ::_exit(result); // Nothing is torn down: no upload reports that it was stopped.
}
