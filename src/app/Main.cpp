#include "AppDelegate.h"
#include "ApplicationService.h"
#include "CertificateSheets.h"
#include "ClipboardHandOver.h"
#include "CommandLine.h"
#include "CoreDump.h"
#include "DelayedAlert.h"
#include "DesktopIntegration.h"
#include "DropIcons.h"
#include "EngineConnections.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "IconCommands.h"
#include "LocalPath.h"
#include "PrivateFile.h"
#include "ProgramIdentity.h"
#include "ProgramName.h"
#include "RememberedTrust.h"
#include "SettingNames.h"
#include "TrustedCertificates.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "VisibleText.h"

#include <QApplication>
#include <QCoreApplication>
#include <QLocale>
#include <QMainWindow>
#include <QTextStream>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <optional>
#include <unistd.h>

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
void handOver(const CommandLine& commandLine)
{
    using HandOver = ApplicationService::HandOver;
    const HandOver result = ApplicationService::handOver(programFileName(), commandLine.files, commandLine.action);
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

/// What the command line asks for, read without a display; ends the process when nothing is left to do.
CommandLine readCommandLine(int argc, char** argv)
{
    QStringList words;
    std::transform(argv, argv + argc, std::back_inserter(words), LocalPath::fromBytes);
    const QCoreApplication application(wordsForToolkit, argv);
    int exitCode = 0;
    std::optional<CommandLine> commandLine = CommandLine::read(words, QStringLiteral(QUILLBOX_VERSION), exitCode);
    if (!commandLine) {
        std::exit(exitCode);
    }
    if (!IconCommands::useSettings(*commandLine)) {
        std::exit(1);
    }
    if (commandLine->listsIcons || !commandLine->icon.isNull()) {
        const DropIcons icons(DropIcons::ourProgramPath(), DropIcons::Folders::standard());
        if (commandLine->listsIcons) {
            IconCommands::list(icons);
            std::exit(0);
        }
        IconCommands::becomeIcon(icons, *commandLine);
        std::exit(1);
    }
    handOver(*commandLine);
    return *std::move(commandLine);
}

/// Does what the launcher's action @p name says; names that are not known, or none, do nothing.
void act(ViewController& viewController, const QString& name)
{
    if (name == u"preferences"_s) {
        viewController.windows().showPreferences();
    }
}

void warnOfBrokenSettings(ViewController& viewController)
{
    viewController.showAlert(
        u"Settings Not Readable"_s,
        u"The settings in “%1” cannot be read, so none are in effect.\n\nThe file will be kept as “%1.bak” when "
        "settings are next stored."_s.arg(UserDefaults::standard().filePath()));
}

void warnOfOpenSettings(ViewController& viewController, PrivateFile::Access access)
{
    using PrivateFile::Right;
    const QString path = UserDefaults::standard().filePath();
    if (access.have) {
        viewController.showAlert(
            u"Settings Are Open to Others"_s,
            u"Other users of this computer have access to the settings in “%1”, which hold the "
            "password, and Quillbox cannot change that.\n\nKeep them where you alone may read and write "
            "(mode 0600 in a folder with mode 0700)."_s.arg(path));
    } else if (access.had.testAnyFlags(Right::Read | Right::Write)) {
        viewController.showAlert(
            u"Settings Were Open to Others"_s,
            u"Other users of this computer had access to the settings in “%1”, which hold the "
            "password. Now you alone have.\n\nChange the password if somebody may have read it."_s.arg(path));
    } else if (access.had & Right::Replace) {
        viewController.showAlert(
            u"Settings Could Be Replaced"_s,
            u"Other users of this computer could not read the settings in “%1”, but could write to their folder, and "
            "so put others in their place. Now they cannot.\n\nSee in the preferences whether address and user name "
            "are yours."_s.arg(path));
    } else {
        viewController.showAlert(
            u"Settings Were Closed to Others"_s,
            u"The settings in “%1”, which hold the password, or their folder gave rights to other users of this "
            "computer. Nobody could read or change the settings with these alone. Now they are yours alone."_s.arg(
                path));
    }
}

/// That others can read what is trusted does no harm.
void warnOfOpenTrust(ViewController& viewController, PrivateFile::Access access)
{
    using PrivateFile::Right;
    const PrivateFile::Rights harmful = Right::Write | Right::Replace;
    const QString path = TrustedCertificates::standard().filePath();
    if (access.have & harmful) {
        viewController.showAlert(
            u"Trusted Certificates Are Open to Others"_s,
            u"Other users of this computer can change “%1”, which says whose certificates you trust, and Quillbox "
            "cannot prevent that.\n\nKeep it where you alone may write (mode 0600 in a folder with mode 0700)."_s.arg(
                path));
    } else if (access.had & harmful) {
        viewController.showAlert(
            u"Trusted Certificates Were Open to Others"_s,
            u"Other users of this computer could change “%1”, which says whose certificates you trust. Now you alone "
            "can.\n\nRemove the file if somebody may have added a server. You are then asked about each again."_s.arg(
                path));
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
    keepMemoryOutOfCoreDumps();
    QCoreApplication::setApplicationName(u"quillbox"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLBOX_VERSION));
    const CommandLine commandLine = readCommandLine(argc, argv);
    TrustedCertificates::standard().noteAccess(); // Before settings are read, which closes the folder of both.

    const QApplication application(wordsForToolkit, argv);
    QGuiApplication::setLayoutDirection(QLocale().textDirection());
    ProgramIdentity::apply(programFileName());
    CertificateSheets certificateSheets;
    RememberedTrust trust(TrustedCertificates::standard(), certificateSheets);
    FTPEngine engine;
    EngineStreamFactory streams(engine, trust);
    EngineConnections connections(engine, &trust);
    ViewController viewController(streams, connections);
    certificateSheets.setWindow(viewController.window());
    QObject::connect(&viewController, &ViewController::userRequestedConnection, &viewController,
                     [&trust] { trust.forgetRefusals(); });
    AppDelegate delegate(viewController, QUrl(QStringLiteral(QUILLBOX_WEBSITE)));
    ApplicationService service(
        &delegate,
        {
            .activate = [&delegate] { delegate.showMainWindow(); },
            .open = [&delegate](const PathList& files,
                                const QStringList& others) { return delegate.openFiles(files, others); },
            .action = [&viewController](const QString& name) { act(viewController, name); },
        });
    DesktopIntegration desktop(
        viewController, programFileName(),
        {
            .sessionBus = [] { return QDBusConnection::sessionBus(); },
            .systemBus = [] { return QDBusConnection::systemBus(); },
            .isInFront = [] { return QGuiApplication::applicationState() == Qt::ApplicationActive; },
        });
    QObject::connect(&desktop, &DesktopIntegration::activated, &delegate, &AppDelegate::showMainWindow);
    setDelayedAlertPresenter([&viewController](const QString& message, const QString& informative) {
        viewController.showAlert(message, informative);
    });
    UserDefaults::standard().setBrokenFileHandler([&viewController] { warnOfBrokenSettings(viewController); });
    UserDefaults::standard().setOpenFileHandler(
        [&viewController](PrivateFile::Access access) { warnOfOpenSettings(viewController, access); });
    TrustedCertificates::standard().setOpenFileHandler(
        [&viewController](PrivateFile::Access access) { warnOfOpenTrust(viewController, access); });

    if (!service.registerFor(programFileName())) {
        handOver(commandLine); // Another start was quicker.
    }
    UserDefaults::standard().removeUnfinishedStores();
    TrustedCertificates::standard().removeUnfinishedStores();
    viewController.window().show();
    openLedger(viewController);
    delegate.applicationDidFinishLaunching();
    if (!commandLine.files.isEmpty()) {
        delegate.openFiles(commandLine.files);
    }
    act(viewController, commandLine.action);

    const int result = QApplication::exec();
    handOverClipboard(clipboardLimit);
    viewController.ledger().close(ledgerLimit);
    std::fflush(nullptr);
    ::_exit(result); // Nothing is torn down: no upload reports that it was stopped.
}
