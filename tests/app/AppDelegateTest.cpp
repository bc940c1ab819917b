#include "AppDelegate.h"

#include "Beeps.h"
#include "BusName.h"
#include "Delays.h"
#include "DestinationSettings.h"
#include "DropIcons.h"
#include "DropIconsWindow.h"
#include "FakeWindowTest.h"
#include "IconName.h"
#include "NetworkManager.h"
#include "OpenedUrls.h"
#include "ProgramName.h"
#include "Sheets.h"
#include "StandardFolders.h"
#include "URLText.h"
#include "UserDefaults.h"
#include "WaitFor.h"

#include <QAction>
#include <QClipboard>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPalette>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTimer>

#include <gtest/gtest.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

class AppDelegateTest : public FakeWindowTest {
protected:
    void launch()
    {
        m_controller->window().show();
        drainEventLoop(); // The application is active before it is launched, not some time later.
        m_delegate.applicationDidFinishLaunching();
    }
    /// Lets both seconds pass after which the title is refreshed.
    void passTwoSeconds()
    {
        passDelaysOf(m_delegate);
        passDelaysOf(m_delegate);
    }
    QString title() { return m_controller->window().windowTitle(); }

    QUrl m_website{ u"https://product.example/"_s };
    AppDelegate m_delegate{ *m_controller, m_website };
};

TEST_F(AppDelegateTest, TheTitleIsTheDestinationAfterTwoSecondsAndTheListingStartsThen)
{
    launch();
    EXPECT_EQ(theAppDelegate, &m_delegate);
    EXPECT_EQ(m_delegate.mainWindow(), &m_controller->window());

    for (int second = 0; second < 2; ++second) {
        EXPECT_EQ(title(), u"Quillbox"_s);
        EXPECT_TRUE(m_streams.streams().empty());
        EXPECT_EQ(delaysOf(m_delegate), QList<int>{ 1000 });
        passDelaysOf(m_delegate);
    }

    EXPECT_EQ(title(), u"ftp://host/"_s);
    EXPECT_TRUE(m_controller->lc().isReceiving());
    EXPECT_EQ(m_streams.last().location, u"ftp://host/"_s);
    EXPECT_EQ(delaysOf(m_delegate), QList<int>());
}

TEST_F(AppDelegateTest, TheTitleIsSetBeforeTheListingStarts)
{
    std::optional<bool> isListingAlready;
    QObject::connect(&m_controller->window(), &QWidget::windowTitleChanged, &m_delegate,
                     [&] { isListingAlready = m_controller->lc().isReceiving(); });
    launch();

    passTwoSeconds();

    EXPECT_EQ(isListingAlready, false);
    EXPECT_TRUE(m_controller->lc().isReceiving());
}

TEST_F(AppDelegateTest, WithoutADestinationTheTitleSaysSoAfterOneSecondAndNothingIsListed)
{
    unset(u"Address"_s);
    launch();
    EXPECT_EQ(delaysOf(m_delegate), QList<int>{ 1000 });

    passDelaysOf(m_delegate);

    EXPECT_EQ(title(), u"No FTP Destination"_s);
    EXPECT_EQ(delaysOf(m_delegate), QList<int>());
    EXPECT_TRUE(m_streams.streams().empty());
}

TEST_F(AppDelegateTest, TheTitleIsTheDestinationOfTheFirstSecond)
{
    launch();
    set(u"Address"_s, u"first"_s);
    passDelaysOf(m_delegate);
    set(u"Address"_s, u"second"_s);

    passDelaysOf(m_delegate);

    EXPECT_EQ(title(), u"ftp://first/"_s);
}

TEST_F(AppDelegateTest, EachTimeTheApplicationBecomesActiveTheTitleIsRefreshed)
{
    launch();
    passTwoSeconds();
    for (const QString& host : { u"second"_s, u"third"_s }) {
        set(u"Address"_s, host);
        emit qGuiApp->applicationStateChanged(Qt::ApplicationInactive);
        EXPECT_EQ(delaysOf(m_delegate), QList<int>());

        emit qGuiApp->applicationStateChanged(Qt::ApplicationActive);

        EXPECT_EQ(delaysOf(m_delegate), QList<int>{ 1000 });
        passTwoSeconds();
        EXPECT_EQ(title(), u"ftp://%1/"_s.arg(host));
    }
}

TEST_F(AppDelegateTest, BecomingActiveDuringATransferRefreshesTheTitleAndListsNothing)
{
    launch();
    passTwoSeconds();
    m_streams.last().sendEnd();
    ASSERT_FALSE(m_controller->lc().isReceiving());
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    m_delegate.openFiles({ file.fileName() });
    m_controller->onTick();
    ASSERT_TRUE(m_controller->pc().isSending());
    set(u"Address"_s, u"other"_s);

    m_delegate.applicationDidBecomeActive();
    passTwoSeconds();

    EXPECT_EQ(title(), u"ftp://other/"_s);
    EXPECT_FALSE(m_controller->lc().isReceiving());
}

TEST_F(AppDelegateTest, LaunchingMakesTheWindowsLight)
{
    QApplication::setPalette(Qt::black);

    launch();
    drainEventLoop();

    EXPECT_GT(QApplication::palette().color(QPalette::Window).lightness(), 200);
    EXPECT_GT(m_controller->window().palette().color(QPalette::Window).lightness(), 200);
}

TEST_F(AppDelegateTest, ShowingTheMainWindowMakesItTheActiveOneAlsoFromItsIcon)
{
    QMainWindow& window = m_controller->window();
    for (const Qt::WindowState state : { Qt::WindowNoState, Qt::WindowMinimized }) {
        SCOPED_TRACE(state);
        window.setWindowState(state);
        window.show();
        QWidget other;
        other.show();
        other.activateWindow();
        ASSERT_TRUE(waitFor([&other] { return other.isActiveWindow(); }));

        m_delegate.showMainWindow();

        EXPECT_TRUE(waitFor([&window] { return window.isActiveWindow(); }));
        EXPECT_FALSE(window.isMinimized());
    }
}

TEST_F(AppDelegateTest, WithoutAMainWindowNothingIsFoundRefreshedOrOpened)
{
    EXPECT_EQ(m_delegate.ourViewController(), nullptr);
    EXPECT_FALSE(m_delegate.openFiles({ u"/a"_s }));
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    m_delegate.showMainWindow();
    m_delegate.updateWindowTitleAndList();
    passDelaysOf(m_delegate);
    EXPECT_EQ(delaysOf(m_delegate), QList<int>());
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(title(), u"Quillbox"_s);
}

TEST_F(AppDelegateTest, OnceFoundTheControllerIsKept)
{
    m_controller->window().show();
    EXPECT_EQ(m_delegate.viewController(), nullptr);
    ASSERT_EQ(m_delegate.ourViewController(), m_controller.get());
    EXPECT_EQ(m_delegate.viewController(), m_controller.get());

    m_controller->window().hide();

    EXPECT_EQ(m_delegate.ourViewController(), m_controller.get());
    EXPECT_EQ(m_delegate.mainWindow(), nullptr);
}

TEST_F(AppDelegateTest, AControllerThatIsSetIsTheOneThatCounts)
{
    m_delegate.setViewController(m_controller.get()); // Without a window on the screen it would find none.

    m_delegate.openFiles({ u"/missing"_s });

    EXPECT_EQ(m_controller->fileUploadQueue(), QStringList{ u"/missing"_s });
    m_delegate.setMainWindow(&m_controller->window());
    EXPECT_EQ(m_delegate.mainWindow(), &m_controller->window());
}

TEST_F(AppDelegateTest, OpenedFilesAreQueuedAsTheyAre)
{
    m_controller->window().show();

    EXPECT_TRUE(m_delegate.openFiles({ u"/missing"_s, u"/tmp"_s, u"/missing"_s }));

    EXPECT_EQ(m_controller->fileUploadQueue(), (QStringList{ u"/missing"_s, u"/tmp"_s, u"/missing"_s }));
}

TEST_F(AppDelegateTest, FilesThatComeWhenTheWindowIsClosedAreNotTaken)
{
    m_controller->window().show();
    ASSERT_NE(m_delegate.ourViewController(), nullptr);
    m_controller->window().close();

    EXPECT_FALSE(m_delegate.openFiles({ u"/missing"_s }));

    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
}

TEST_F(AppDelegateTest, TheClipboardHoldsExactlyTheDestinationAndWithoutOneThereIsABeep)
{
    const Beeps beeps;
    set(u"FTPFolder"_s, u"a b"_s);
    m_delegate.copyLocationToClipboard();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"ftp://host/a%20b/"_s);
    EXPECT_EQ(beeps.count(), 0);

    unset(u"Address"_s);
    m_delegate.copyLocationToClipboard();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"ftp://host/a%20b/"_s);
    EXPECT_EQ(beeps.count(), 1);
}

TEST_F(AppDelegateTest, TheCommandOfTheWebPageShowsWhereThereIsOne)
{
    const QAction& command = *m_controller->window().findChild<QAction*>(u"websiteAction"_s);
    EXPECT_TRUE(command.isVisible());

    const AppDelegate without(*m_controller);

    EXPECT_FALSE(command.isVisible());
}

TEST_F(AppDelegateTest, TheProductsWebPageIsOpened)
{
    const OpenedUrls opened(u"https"_s);

    m_delegate.goToWebsite();

    EXPECT_EQ(opened.urls(), QList<QUrl>{ m_website });
}

TEST_F(AppDelegateTest, AnAlertBeepsAndIsASheetWithAWindowAndADialogWithoutOne)
{
    const Beeps beeps;
    showInFront(m_controller->window());
    m_delegate.doAlert(u"Title"_s, u"50 % of \"%1\""_s, &m_controller->window(), AlertDialog::Style::Critical);
    EXPECT_EQ(beeps.count(), 1);
    EXPECT_EQ(shownSheets(), QStringList{ u"Title: 50 % of \"%1\""_s });
    EXPECT_EQ(QApplication::activeModalWidget()->windowModality(), Qt::WindowModal);
    answerSheet();
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));

    AlertDialog::Style style = AlertDialog::Style::Warning;
    Qt::WindowModality modality = Qt::NonModal;
    bool isPlain = true;
    QStringList texts;
    QTimer answer;
    QObject::connect(&answer, &QTimer::timeout, &answer, [&style, &modality, &isPlain, &texts] {
        if (auto* const box = qobject_cast<AlertDialog*>(QApplication::activeModalWidget())) {
            texts = shownSheets();
            style = box->alertStyle();
            modality = box->windowModality();
            for (const QLabel* label : box->findChildren<QLabel*>()) {
                isPlain = isPlain && (label->text().isEmpty() || label->textFormat() == Qt::PlainText);
            }
            box->accept();
        }
    });
    answer.start(5);
    m_delegate.doAlert(u"Title"_s, u"<b>text</b>"_s, nullptr, AlertDialog::Style::Critical);
    EXPECT_EQ(texts, QStringList{ u"Title: <b>text</b>"_s });
    EXPECT_TRUE(isPlain);
    EXPECT_EQ(style, AlertDialog::Style::Critical);
    EXPECT_EQ(modality, Qt::ApplicationModal);
    EXPECT_EQ(beeps.count(), 2);
}

TEST_F(AppDelegateTest, TheDefaultsHandlerWritesItsLine)
{
    static QStringList lines;
    lines.clear();
    const QtMessageHandler before
        = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) { lines.append(text); });

    m_delegate.defaultsDidChangeHandler();

    qInstallMessageHandler(before);
    EXPECT_EQ(lines, QStringList{ u"****************      defaultsDidChangeHandler        **************"_s });
}

TEST_F(AppDelegateTest, AWatchedFileThatChangesRefreshesTheTitle)
{
    m_controller->window().show();
    m_delegate.startDispatchSource(u"/nonexistent/settings"_s);
    m_delegate.startDispatchSource(UserDefaults::standard().filePath());

    for (const QString& host : { u"second"_s, u"third"_s }) {
        set(u"Address"_s, host);
        EXPECT_TRUE(waitFor([this, &host] {
            passDelaysOf(m_delegate);
            return title() == u"ftp://%1/"_s.arg(host);
        }));
    }
}

TEST_F(AppDelegateTest, TheDestinationsTextIsSavedInTheDocumentsFolder)
{
    const QString path = m_delegate.documentsPathForDestination();
    EXPECT_EQ(path, documentsDirectoryPath() + u"/FTPDestination"_s);
    const auto saved = [&path] {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    };

    set(u"FTPFolder"_s, u"é"_s);
    m_delegate.saveDestinationFolderName();
    EXPECT_EQ(saved(), "ftp://host/%C3%A9/");

    unset(u"Address"_s);
    m_delegate.saveDestinationFolderName();
    EXPECT_EQ(saved(), "Quillbox");
    QFile::remove(path);
}

TEST_F(AppDelegateTest, TheSettingsPathIsAnsweredOnlyWhileTheFileExists)
{
    EXPECT_EQ(m_delegate.defaultFilePath(), UserDefaults::standard().filePath());

    QFile::remove(UserDefaults::standard().filePath());

    EXPECT_TRUE(m_delegate.defaultFilePath().isNull());
}

TEST_F(AppDelegateTest, ClosingTheMainWindowQuits)
{
    m_controller->window().show();
    m_controller->windows().manualTransfers().show();
    bool quits = false;
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &m_delegate, [&quits] { quits = true; });
    QTimer::singleShot(0, &m_controller->window(), &QWidget::close);

    QApplication::exec();

    EXPECT_TRUE(quits);
}

TEST_F(AppDelegateTest, LaunchingShowsTheWelcomeWindowUnlessItIsTurnedOff)
{
    launch();
    EXPECT_TRUE(m_controller->windows().welcomeWindow().isVisible());
    m_controller->windows().welcomeWindow().close();

    set(u"DoNotShowWelcomeWindowAgain"_s, true);
    m_delegate.applicationDidFinishLaunching();
    EXPECT_FALSE(m_controller->windows().welcomeWindow().isVisible());
    m_delegate.showWelcomeWindow(&m_delegate);
    EXPECT_TRUE(m_controller->windows().welcomeWindow().isVisible());
}

TEST_F(AppDelegateTest, TheCommandsOfTheWindowReachTheApplication)
{
    launch();
    m_controller->windows().welcomeWindow().close();
    set(u"DoNotShowWelcomeWindowAgain"_s, true);

    emit m_controller->copyLocationToClipboard();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"ftp://host/"_s);
    emit m_controller->welcomeWindowRequested();
    EXPECT_TRUE(m_controller->windows().welcomeWindow().isVisible());
    passTwoSeconds();
    set(u"Address"_s, u"other"_s);
    emit m_controller->updateWindowTitleAndList();
    passTwoSeconds();
    EXPECT_EQ(title(), u"ftp://other/"_s);
    const OpenedUrls opened(u"https"_s);
    emit m_controller->goToWebsite();
    EXPECT_EQ(opened.urls().size(), 1);
}

TEST_F(AppDelegateTest, WhenTheMainWindowClosesItsPlaceIsRememberedForTheNextRun)
{
    const auto sizeInTheNextRun = [this] {
        NetworkManager::sharedInstance().setNetworkOperationCount(100);
        const QSize size = ViewController(m_streams, m_connections).window().size();
        NetworkManager::sharedInstance().setNetworkOperationCount(0);
        return size;
    };
    launch();
    m_controller->window().resize(713, 617);
    ASSERT_NE(sizeInTheNextRun(), QSize(713, 617));

    m_controller->window().close();

    EXPECT_EQ(sizeInTheNextRun(), QSize(713, 617));
}

TEST_F(AppDelegateTest, QuittingAsksWhileFilesWaitAndCancelIsTheDefault)
{
    launch();
    m_controller->uploadFiles({ u"/a"_s, u"/b"_s });

    m_controller->window().close();

    EXPECT_TRUE(m_controller->window().isVisible());
    EXPECT_EQ(shownSheets(), QStringList{ u"Quit Quillbox?: 2 files are waiting, and would not be uploaded."_s });
    auto* const sheet = m_controller->window().findChild<AlertDialog*>();
    EXPECT_EQ(sheet->defaultButton()->text(), u"Cancel"_s);
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
}

TEST_F(AppDelegateTest, TheQuestionOpensAMinimizedWindow)
{
    launch();
    m_controller->uploadFiles({ u"/a"_s });
    m_controller->window().showMinimized();

    m_controller->window().close();

    EXPECT_FALSE(m_controller->window().isMinimized());
    EXPECT_EQ(shownSheets().size(), 1);
}

TEST_F(AppDelegateTest, CancelGoesOnAndQuitEnds)
{
    launch();
    m_controller->uploadFiles({ u"/a"_s });
    m_controller->window().close();
    answerSheet(u"Cancel"_s);
    EXPECT_TRUE(m_controller->window().isVisible());
    EXPECT_EQ(m_controller->fileUploadQueue().size(), 1);
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
    m_controller->uploadFiles({ u"/b"_s });

    m_controller->window().close();
    EXPECT_TRUE(m_controller->window().isVisible());
    answerSheet(u"Quit"_s);

    EXPECT_FALSE(m_controller->window().isVisible());
}

TEST_F(AppDelegateTest, TheQuestionIsAskedOnceAtATimeAndHoldsNoTransfer)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    launch();
    m_controller->uploadFiles({ file.fileName(), u"/b"_s });

    m_controller->window().close();
    m_controller->window().close();
    EXPECT_EQ(shownSheets().size(), 1);
    m_controller->onTick();

    EXPECT_TRUE(m_controller->pc().isSending());
    answerSheet(u"Cancel"_s);
    m_controller->window().close();
    EXPECT_EQ(
        shownSheets(),
        QStringList{ u"Quit Quillbox?: A file is being uploaded, and what has arrived of it would not be whole.\n\n"
                     "One file is waiting, and would not be uploaded."_s });
}

TEST_F(AppDelegateTest, ADownloadIsAReasonToAskToo)
{
    launch();
    m_controller->items().downloadFile(u"x"_s, m_directory.path());

    m_controller->window().close();

    EXPECT_TRUE(m_controller->window().isVisible());
    m_controller->gc().stopReceiveWithStatus(u"Stopped"_s);
}

TEST_F(AppDelegateTest, WithNothingToLoseTheWindowCloses)
{
    launch();

    m_controller->window().close();

    EXPECT_FALSE(m_controller->window().isVisible());
    EXPECT_TRUE(shownSheets().isEmpty());
}

TEST_F(AppDelegateTest, TheMenuOpensOneWindowForDropIconsWhichSaysWhereTheyUploadTo)
{
    set(u"FTPFolder"_s, u"in"_s);
    launch();
    auto& action = *m_controller->window().findChild<QAction*>(u"dropIconsAction"_s);
    EXPECT_EQ(m_delegate.dropIconsWindow(), nullptr);

    action.trigger();
    const DropIconsWindow* const window = m_delegate.dropIconsWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->isVisible());
    window->findChild<QPushButton*>(u"newIconButton"_s)->click();
    auto* const name = window->findChild<QLineEdit*>(u"nameTextField"_s);
    auto* const destination = window->findChild<QLabel*>(u"destinationLabel"_s);
    name->setText(u"Photos/2024"_s);
    EXPECT_EQ(destination->text(), u"Files go to ftp://host/in/Photos/2024/"_s);
    action.trigger();

    EXPECT_EQ(m_delegate.dropIconsWindow(), window);
    EXPECT_EQ(name->text(), u"Photos/2024"_s);
    for (const QString& plain : { u"Reports 1.2"_s, u"x.app"_s, u"é%"_s }) {
        setProgramFileName(IconName::fileName(plain));
        name->setText(plain);
        EXPECT_EQ(destination->text(),
                  u"Files go to "_s
                      + URLText::readable(DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder()));
    }
    name->setText(u"Quillbox 2"_s);
    EXPECT_EQ(destination->text(), u"Files go to ftp://host/in/"_s);
}

TEST_F(AppDelegateTest, AnIconMadeThereIsALinkToThisProgramsOwnFile)
{
    launch();
    m_delegate.showDropIconsWindow();
    const DropIconsWindow* const window = m_delegate.dropIconsWindow();
    window->findChild<QPushButton*>(u"newIconButton"_s)->click();
    window->findChild<QLineEdit*>(u"nameTextField"_s)->setText(u"Scans"_s);

    window->findChild<QPushButton*>(u"saveIconButton"_s)->click();

    const DropIcons icons(QString(), DropIcons::Folders::standard());
    ASSERT_EQ(icons.icons().size(), 1);
    EXPECT_EQ(QFile::symLinkTarget(icons.icons().constFirst().path),
              QFileInfo(u"/proc/self/exe"_s).canonicalFilePath());
    EXPECT_TRUE(icons.remove({ .name = u"Scans"_s }));
}

TEST_F(AppDelegateTest, IconsOfEarlierVersionsGetTheEntriesOfFileManagersAfterTheStart)
{
    const DropIcons::Folders folders = DropIcons::Folders::standard();
    const DropIcons icons(u"/nowhere"_s, folders);
    ASSERT_EQ(icons.make({ .name = u"Scans"_s }), DropIcons::Outcome::Made);
    const QString entry = folders.sendTo + u'/' + busName(u"Scans"_s) + u".desktop"_s;
    ASSERT_TRUE(QFile::remove(entry));

    launch();

    EXPECT_TRUE(waitFor([&entry] { return QFile::exists(entry); }));
    EXPECT_TRUE(icons.remove({ .name = u"Scans"_s }));
}

TEST_F(AppDelegateTest, AtTheEndOfTheSessionNothingIsAsked)
{
    launch();
    m_controller->uploadFiles({ u"/a"_s });

    m_delegate.sessionEnds();
    m_controller->window().close();

    EXPECT_FALSE(m_controller->window().isVisible());
    EXPECT_TRUE(shownSheets().isEmpty());
}

TEST_F(AppDelegateTest, WhoeverGoesOnAfterTheEndOfTheSessionWasCalledOffIsAskedAgain)
{
    launch();
    m_controller->uploadFiles({ u"/a"_s });
    for (const QEvent::Type type :
         { QEvent::KeyPress, QEvent::MouseButtonPress, QEvent::TouchBegin, QEvent::TabletPress }) {
        m_delegate.sessionEnds();

        QObject anybody;
        QEvent input(type);
        QCoreApplication::sendEvent(&anybody, &input);
        m_controller->window().close();

        EXPECT_TRUE(m_controller->window().isVisible());
        ASSERT_FALSE(shownSheets().isEmpty());
        answerSheet(u"Cancel"_s);
    }
}

TEST_F(AppDelegateTest, TheApplicationTellsOfTheEndOfTheSession)
{
    EXPECT_TRUE(QObject::disconnect(qGuiApp, &QGuiApplication::commitDataRequest, &m_delegate, nullptr));
}

} // namespace
