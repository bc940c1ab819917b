#include "Delays.h"
#include "FMServer.h"
#include "ListingTable.h"
#include "OpenedUrls.h"
#include "StandardFolders.h"
#include "TrustedCertificates.h"
#include "ViewControllerTest.h"
#include "VisibleText.h"

#include <QAction>
#include <QDesktopServices>
#include <QDir>
#include <QScopeGuard>
#include <QTest>

#include <functional>

namespace {

class ItemActionsTest : public ViewControllerTest {
protected:
    ItemActionsTest()
    {
        m_controller->items().setOperations({
            .deleteFileNamed =
                [this](const QByteArray& name, ListedKind kind, const FMServer& server) {
                    m_kind = kind;
                    return note(QString::fromLatin1(name), server);
                },
            .createNewFolder = [this](const QString& name, const FMServer& server) { return note(name, server); },
        });
        add(u"file.txt"_s, ListingEntry::plainFileType);
        add(u"folder"_s, ListingEntry::folderType);
    }

    void add(const QString& name, std::optional<int> type)
    {
        ListingEntry entry;
        entry.name = name;
        entry.type = type;
        m_controller->addListEntries({ entry });
    }
    ItemResult note(const QString& name, const FMServer& server)
    {
        m_operations.append(QStringList{ name, server.destination(), server.username(), server.password(),
                                         QString::number(server.port()) });
        m_encryption = server.encryption();
        m_trustedFingerprints = server.trustedFingerprints();
        m_address = server.address();
        m_timeLimit = server.timeLimit();
        return m_outcome;
    }
    ListingTable& table() { return control<ListingTable>("destinationListingTable"); }
    void select(const QString& name)
    {
        for (int row = 0; row < m_controller->listEntries().size(); ++row) {
            if (m_controller->listEntries().at(row).name == name) {
                table().selectRow(row);
            }
        }
    }
    void startUpload()
    {
        m_controller->uploadFiles({ makeFile(u"up"_s) });
        tick();
    }
    static QStringList operation(const QString& name)
    {
        return { name, u"ftp://host/in/"_s, u"anna"_s, u"secret"_s, u"21"_s };
    }

    QList<QStringList> m_operations;
    FTPEncryption m_encryption = FTPEncryption::None; ///< Of the latest operation.
    QList<QByteArray> m_trustedFingerprints; ///< Of the latest operation.
    QHostAddress m_address; ///< Likewise.
    std::chrono::milliseconds m_timeLimit{ 0 }; ///< Likewise.
    ItemResult m_outcome = ItemOutcome::Done;
    ListedKind m_kind = ListedKind::Unknown;
};

TEST_F(ItemActionsTest, APlainFileIsDownloadedToTheDefaultPlace)
{
    select(u"file.txt"_s);

    button("downloadButton").click();

    FakeFTPStream& stream = latest(FakeFTPStream::Kind::Download);
    EXPECT_EQ(stream.location, u"ftp://host/in/file.txt"_s);
    EXPECT_EQ(stream.calls.first(2), (QStringList{ u"setUserName anna"_s, u"setPassword secret"_s }));
    stream.sendOpenCompleted();
    stream.sendBytes("bytes");
    stream.sendEnd();
    const QFileInfoList downloads = QDir(downloadsDirectoryPath()).entryInfoList({ u"*file*.txt"_s });
    ASSERT_EQ(downloads.size(), 1);
    EXPECT_EQ(downloads.first().size(), 5);
    QFile::remove(downloads.first().filePath());
}

TEST_F(ItemActionsTest, ADownloadIsOpenedOnRequestUnlessItCarriesCodeWhichIsShownInItsFolder)
{
    set({ { u"OpenDownloadedFiles"_s, true } });
    const OpenedUrls opened(u"file"_s);
    const QString folder = m_directory.path() + u'/';
    for (const QString& name : { u"tool.desktop"_s, u"picture"_s, u"macros.docm"_s, u"note %41.txt"_s }) {
        m_controller->items().downloadFile(name, m_directory.path());
        FakeFTPStream& stream = latest(FakeFTPStream::Kind::Download);
        stream.sendOpenCompleted();
        stream.sendBytes(name == u"picture"_s ? "#!/bin/sh\nrm -rf\n" : "text");
        stream.sendEnd();
        if (name != u"note %41.txt"_s) {
            EXPECT_EQ(shownSheets(),
                      QStringList{ u"File Not Opened: \"%1\" can run or hold programs, and is shown in its folder "
                                   "instead of opened."_s.arg(name) });
            answerSheet();
        }
    }

    EXPECT_EQ(opened.localPaths(), (QStringList{ folder, folder, folder, m_directory.filePath(u"note %41.txt"_s) }));
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(ItemActionsTest, AFolderThatCannotBeShownIsNotSaidToBe)
{
    QDesktopServices::setUrlHandler(u"file"_s, m_controller.get(), "noSuchMethod"); // The desktop declines.
    const auto restore = qScopeGuard([] { QDesktopServices::unsetUrlHandler(u"file"_s); });

    m_controller->items().openDownload(u"/nowhere/tool.desktop"_s);

    EXPECT_EQ(
        shownSheets(),
        QStringList{ u"File Not Opened: “/nowhere/tool.desktop” can run or hold programs, and is not opened."_s });
}

TEST_F(ItemActionsTest, ADownloadMayHaveAPlaceOfItsOwn)
{
    m_controller->items().downloadFile(u"a b"_s, m_directory.path());

    FakeFTPStream& stream = latest(FakeFTPStream::Kind::Download);
    EXPECT_EQ(stream.location, u"ftp://host/in/a%20b"_s);
    stream.sendOpenCompleted();
    stream.sendEnd();
    EXPECT_TRUE(QFile::exists(m_directory.filePath(u"a b"_s)));
}

TEST_F(ItemActionsTest, ANameThatIsNoUTF8IsAskedForByItsBytes)
{
    m_controller->listFTPDestination();
    ListingEntry entry;
    entry.name = u"caf√©"_s;
    entry.rawName = "caf\xE9 %41"_ba;
    entry.type = ListingEntry::plainFileType;
    m_controller->addListEntries({ entry });
    select(entry.name);

    m_controller->items().downloadSelection();

    EXPECT_EQ(latest(FakeFTPStream::Kind::Download).location, u"ftp://host/in/caf%E9%20%2541"_s);
}

TEST_F(ItemActionsTest, ANameThatIsNoUTF8IsDeletedByItsBytes)
{
    m_controller->listFTPDestination();
    ListingEntry entry;
    entry.name = u"caf√©"_s;
    entry.rawName = "caf\xE9"_ba;
    m_controller->addListEntries({ entry });
    select(entry.name);

    button("deleteButton").click();
    answerSheet(u"Delete"_s);
    passDelaysOf(*m_controller);

    EXPECT_EQ(m_operations, QList<QStringList>{ operation(u"caf\u00E9"_s) }); // Its bytes, read one by one.
}

TEST_F(ItemActionsTest, ANameThatIsNoFileNameLeadsNowhere)
{
    const QString neighbour = makeFile(u"victim"_s, "precious");
    QDir(m_directory.path()).mkdir(u"drop"_s);
    for (const QString& name : { u"../victim"_s, u"/etc/x"_s, u".."_s, u"."_s, u""_s, u"a/b"_s, u"a\0b"_s }) {
        for (const QString& folder : { m_directory.filePath(u"drop"_s), QString() }) {
            m_controller->updateStatus(u""_s);
            m_controller->items().downloadFile(name, folder);
            tick();

            EXPECT_EQ(text("statusTextField"), u"Invalid Desftination File"_s) << name.toStdString();
            EXPECT_FALSE(m_controller->gc().isReceiving());
            const HistoryEntry& line = m_controller->history().entries().last();
            EXPECT_EQ(line.outcome, HistoryEntry::Outcome::Note);
            EXPECT_TRUE(line.path.startsWith(u'“' + visibleText(name) + u"” is no name"_s));
        }
    }
    EXPECT_EQ(QFileInfo(neighbour).size(), 8);
    EXPECT_TRUE(QDir(m_directory.filePath(u"drop"_s)).isEmpty());
}

TEST_F(ItemActionsTest, ADownloadResetsTheProgressAndNeedsADestination)
{
    m_controller->percentDone(50);
    m_controller->bytesDone(1000);
    unset(u"Address"_s);

    m_controller->items().downloadFile(u"a"_s, QString());
    tick();

    EXPECT_EQ(bar("percentProgressIndicator").value(), 0);
    EXPECT_EQ(text("bytesFormattedTextField"), u""_s);
    EXPECT_EQ(count(FakeFTPStream::Kind::Download), 0);
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(ItemActionsTest, WhatIsNoPlainFileIsNotDownloaded)
{
    add(u"link"_s, ListingEntry::linkType);
    add(u"untyped"_s, std::nullopt);
    for (const QString& name : { u"folder"_s, u"link"_s, u"untyped"_s }) {
        select(name);

        m_controller->items().downloadSelection();

        EXPECT_EQ(shownSheets(), QStringList{ u"Folder Item: Folders are not downloadable."_s });
        answerSheet();
    }
    EXPECT_EQ(count(FakeFTPStream::Kind::Download), 0);
}

TEST_F(ItemActionsTest, ADoubleClickDownloadsARowAndNothingElsewhere)
{
    const auto doubleClick = [this](QPoint place) {
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, place);
        QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, place);
    };
    doubleClick(QPoint(60, table().rowViewportPosition(1) + 15));
    EXPECT_EQ(shownSheets(), QStringList{ u"Folder Item: Folders are not downloadable."_s });
    answerSheet();

    doubleClick(QPoint(60, table().rowViewportPosition(1) + 45));
    m_controller->items().doubleAction();
    EXPECT_EQ(shownSheets(), QStringList());

    doubleClick(QPoint(60, 15));
    EXPECT_TRUE(m_controller->gc().isReceiving());
}

TEST_F(ItemActionsTest, WithoutASelectionNothingHappens)
{
    m_controller->items().downloadSelection();
    m_controller->items().deleteSelection();
    m_controller->items().doubleAction();

    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_FALSE(m_controller->gc().isReceiving());
}

TEST_F(ItemActionsTest, ATransferKeepsAllActionsBack)
{
    startUpload();
    const std::vector<std::function<void()>> actions{ [this] { button("downloadButton").click(); },
                                                      [this] { button("deleteButton").click(); },
                                                      [this] { button("newFolderButton").click(); } };
    for (const QString& name : { u"file.txt"_s, u"folder"_s }) { // Also what could not be downloaded anyway.
        select(name);
        for (const auto& action : actions) {
            action();
            EXPECT_EQ(shownSheets(), QStringList{ waitForUpload });
            answerSheet();
        }
    }

    table().clearSelection();
    m_controller->items().downloadSelection();
    EXPECT_EQ(shownSheets(), QStringList{ waitForUpload });
}

TEST_F(ItemActionsTest, DeletingAsksFirstAndCancelIsTheDefault)
{
    select(u"folder"_s);

    button("deleteButton").click();

    EXPECT_EQ(shownSheets(), QStringList{ u"Delete Item: Are you sure you want to delete \"folder\"?"_s });
    auto* const sheet = m_controller->window().findChild<AlertDialog*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->defaultButton()->text(), u"Cancel"_s);
    QTest::keyClick(sheet, Qt::Key_Return);
    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_EQ(delaysOf(*m_controller), QList<int>());
    EXPECT_TRUE(m_operations.isEmpty());
}

TEST_F(ItemActionsTest, AConfirmedDeletionComesASecondLaterAndRefreshes)
{
    select(u"file.txt"_s);
    button("deleteButton").click();

    answerSheet(u"Delete"_s);
    EXPECT_TRUE(m_operations.isEmpty());
    EXPECT_EQ(delaysOf(*m_controller), QList<int>{ 1000 });
    passDelaysOf(*m_controller);

    EXPECT_EQ(m_operations, QList<QStringList>{ operation(u"file.txt"_s) });
    EXPECT_TRUE(m_controller->lc().isReceiving());
    EXPECT_TRUE(m_controller->listEntries().isEmpty());
}

TEST_F(ItemActionsTest, TheItemThatWasAskedAboutIsDeletedWhateverIsSelectedByThen)
{
    select(u"file.txt"_s);
    button("deleteButton").click();

    select(u"folder"_s);
    answerSheet(u"Delete"_s);
    table().clearSelection();
    passDelaysOf(*m_controller);

    EXPECT_EQ(m_operations, QList<QStringList>{ operation(u"file.txt"_s) });
}

TEST_F(ItemActionsTest, TheActionsOfACopyActInItsOwnFolder)
{
    setProgramFileName(u"Scans"_s);

    m_controller->items().deleteFile(u"file.txt"_s);
    m_controller->items().createFolder(u"new"_s);
    m_controller->items().downloadFile(u"file.txt"_s, m_directory.path());

    ASSERT_EQ(m_operations.size(), 2);
    for (const QStringList& operation : m_operations) {
        EXPECT_EQ(operation.at(1), u"ftp://host/in/Scans/"_s);
    }
    EXPECT_EQ(latest(FakeFTPStream::Kind::Download).location, u"ftp://host/in/Scans/file.txt"_s);
}

TEST_F(ItemActionsTest, TheServersWordsForARefusalAreInTheDetails)
{
    m_outcome = { ItemOutcome::Refused, u"550 Directory not empty"_s };

    m_controller->items().deleteFile(u"old"_s);

    const auto* const sheet = m_controller->window().findChild<AlertDialog*>();
    ASSERT_NE(sheet, nullptr);
    QStringList words;
    for (const QLabel* label : sheet->findChildren<QLabel*>()) {
        words.append(label->text());
    }
    EXPECT_TRUE(words.contains(u"550 Directory not empty"_s)) << words.join(u'|').toStdString();
}

TEST_F(ItemActionsTest, WhatWasDoneIsSaid)
{
    m_controller->items().deleteFile(u"a.txt"_s);
    EXPECT_EQ(text("lastActionTextField"), u"“a.txt” was deleted"_s);

    m_controller->items().createFolder(u"new"_s);
    EXPECT_EQ(text("lastActionTextField"), u"Folder “new” was created"_s);
}

TEST_F(ItemActionsTest, OnlyACompleteListingOfTheDestinationSaysWhatAnItemIs)
{
    const auto list = [this](bool isWhole) {
        m_controller->listFTPDestination();
        latest(Kind::Listing).sendOpenCompleted();
        latest(Kind::Listing)
            .sendBytes("-rw-r--r-- 1 u g 5 Jan 1 2024 Makefile\r\ndrwxr-xr-x 2 u g 5 Jan 1 2024 v1.2\r\n"
                       "lrwxrwxrwx 1 u g 5 Jan 1 2024 latest -> v1.2\r\n");
        if (isWhole) {
            latest(Kind::Listing).sendEnd();
        } else {
            latest(Kind::Listing).sendOtherError();
        }
    };
    const auto kindOf = [this](const QString& name) {
        m_outcome = ItemOutcome::Refused; // Which leaves the list alone.
        m_controller->items().deleteFile(name);
        return m_kind;
    };

    list(true);
    EXPECT_EQ(kindOf(u"Makefile"_s), ListedKind::File);
    EXPECT_EQ(kindOf(u"latest"_s), ListedKind::File);
    EXPECT_EQ(kindOf(u"v1.2"_s), ListedKind::Folder);
    EXPECT_EQ(kindOf(u"elsewhere"_s), ListedKind::Unknown);
    list(false);
    EXPECT_EQ(kindOf(u"Makefile"_s), ListedKind::Unknown);
}

TEST_F(ItemActionsTest, ARefusedDeletionIsExplainedAndLeavesTheList)
{
    m_outcome = ItemOutcome::Refused;

    m_controller->items().deleteFile(u"full %1"_s);

    EXPECT_EQ(shownSheets(),
              QStringList{ u"Item Not Deleted: \"full %1\" was not deleted. If this is a folder make sure it is empty. "
                           "Folders can not be deleted if they contain items.\n\nSwitch to the folder using "
                           "preferences, and then delete its items."_s });
    EXPECT_EQ(m_controller->listEntries().size(), 2);
    EXPECT_FALSE(m_controller->lc().isReceiving());
}

TEST_F(ItemActionsTest, AnActionGoesToTheMachineThatTheListCameFrom)
{
    m_controller->items().deleteFile(u"file.txt"_s);
    EXPECT_TRUE(m_address.isNull()); // No list has come.
    EXPECT_EQ(m_timeLimit, std::chrono::seconds(60));
    const QHostAddress listed(u"2001:db8::7"_s);
    latest(FakeFTPStream::Kind::Listing).peerAddress = listed;
    latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();
    latest(FakeFTPStream::Kind::Listing).sendEnd();

    m_controller->items().deleteFile(u"file.txt"_s);
    EXPECT_EQ(m_address, listed);
    latest(FakeFTPStream::Kind::Listing).peerAddress = listed;
    latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();
    latest(FakeFTPStream::Kind::Listing).sendEnd();
    m_controller->items().createFolder(u"new"_s);
    EXPECT_EQ(m_address, listed);

    set(u"Address"_s, u"elsewhere"_s);
    m_controller->items().createFolder(u"newer"_s);
    EXPECT_TRUE(m_address.isNull());
}

TEST_F(ItemActionsTest, UntilARefreshBringsRowsTheMachineIsThatOfTheListBefore)
{
    const QHostAddress listed(u"2001:db8::7"_s);
    const QHostAddress other(u"192.0.2.7"_s);
    m_controller->listFTPDestination();
    latest(FakeFTPStream::Kind::Listing).peerAddress = listed;
    latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();
    latest(FakeFTPStream::Kind::Listing).sendEnd();
    m_controller->listFTPDestination();
    latest(FakeFTPStream::Kind::Listing).peerAddress = other;
    latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();

    m_outcome = ItemOutcome::Refused; // Which leaves the refresh alone.
    m_controller->items().createFolder(u"new"_s);
    EXPECT_EQ(m_address, listed);

    latest(FakeFTPStream::Kind::Listing).sendBytes("-rw-r--r-- 1 u g 5 Jan 1 2020 a\r\n");
    m_controller->items().createFolder(u"newer"_s);
    EXPECT_EQ(m_address, other);
}

TEST_F(ItemActionsTest, WhatTheServerHasNotAnsweredInTimeMayOrMayNotBeDone)
{
    m_outcome = ItemOutcome::Unanswered;

    m_controller->items().deleteFile(u"file.txt"_s);

    EXPECT_EQ(shownSheets(),
              QStringList{ u"No Answer: The server has not answered. “file.txt” may or may not have been deleted."_s });
    EXPECT_TRUE(m_controller->lc().isReceiving());
}

TEST_F(ItemActionsTest, ATransferThatHasStartedMeanwhileKeepsTheListAsItIs)
{
    startUpload();

    m_controller->items().deleteFile(u"file.txt"_s);
    m_controller->items().createFolder(u"new"_s);

    EXPECT_EQ(m_operations.size(), 2);
    EXPECT_EQ(m_controller->listEntries().size(), 2);
    EXPECT_FALSE(m_controller->lc().isReceiving());
}

TEST_F(ItemActionsTest, AFolderIsCreatedUnderTheNameAsTyped)
{
    for (const QString& name : { u" "_s, u"Folder"_s, u"a/b é%41"_s }) {
        m_operations.clear();
        answerPrompt(name);

        button("newFolderButton").click();

        EXPECT_EQ(m_prompt, u"Enter name of folder to create."_s);
        EXPECT_EQ(m_promptDefault, u""_s);
        EXPECT_EQ(m_operations, QList<QStringList>{ operation(name) });
        EXPECT_TRUE(m_controller->lc().isReceiving());
    }
}

TEST_F(ItemActionsTest, NoFolderIsCreatedWhereTheDestinationHasChangedMeanwhile)
{
    answerPrompt(u"name"_s);
    set({ { u"FTPFolder"_s, u"elsewhere"_s } }); // No tick has shown it yet.

    button("newFolderButton").click();

    EXPECT_EQ(shownSheets(),
              QStringList{ u"Destination Changed: Nothing was done to “name”, since the destination has changed."_s });
    EXPECT_TRUE(m_operations.isEmpty());
}

TEST_F(ItemActionsTest, NoAnswerCreatesNothing)
{
    answerPrompt(QString());
    button("newFolderButton").click();
    EXPECT_EQ(shownSheets(), QStringList());

    answerPrompt(u""_s);
    button("newFolderButton").click();
    EXPECT_EQ(shownSheets(), QStringList{ u"Folder Not Created: Please retry with a name."_s });
    EXPECT_TRUE(m_operations.isEmpty());
}

TEST_F(ItemActionsTest, AListedNameIsNotCreatedAgain)
{
    m_controller->items().createFolder(u"folder"_s);

    EXPECT_EQ(shownSheets(), QStringList{ u"Folder Exists: Folder \"folder\" already exists. Try another name."_s });
    EXPECT_TRUE(m_operations.isEmpty());
}

TEST_F(ItemActionsTest, ANameThatDiffersFromAListedOneOnlyInCaseIsCreated)
{
    m_controller->items().createFolder(u"FOLDER"_s);

    EXPECT_EQ(m_operations, QList<QStringList>{ operation(u"FOLDER"_s) });
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(ItemActionsTest, ARefusedFolderIsExplained)
{
    m_outcome = ItemOutcome::Refused;

    m_controller->items().createFolder(u"new"_s);

    EXPECT_EQ(shownSheets(),
              QStringList{ u"Folder Not Created: Folder \"new\" was not created due to an error.\n\nPlease check your "
                           "preference settings for correct FTP server passsword, username and folder location."_s });
    EXPECT_FALSE(m_controller->lc().isReceiving());
}

TEST_F(ItemActionsTest, KeptConnectionsAreClosedFirst)
{
    m_controller->items().deleteFile(u"file.txt"_s);
    m_controller->items().createFolder(u"new"_s);

    EXPECT_EQ(m_connections.closedIdle, (QStringList{ u"ftp://host/in/"_s, u"ftp://host/in/"_s }));
}

TEST_F(ItemActionsTest, SettingsAreReadForEachAction)
{
    set({ { u"Address"_s, u"other:2121"_s }, { u"FTPFolder"_s, u"a b"_s } });
    unset(u"Username"_s);

    m_controller->items().createFolder(u"new"_s);

    EXPECT_EQ(m_operations,
              (QList<QStringList>{ { u"new"_s, u"ftp://other/a b/"_s, u"anonymous"_s, u"anonymous@"_s, u"2121"_s } }));
}

TEST_F(ItemActionsTest, AtAnIPv6AddressNothingIsDeletedAndTheUserLearnsWhy)
{
    set({ { u"Address"_s, u"[::1]:2121"_s } });

    m_controller->items().deleteFile(u"file.txt"_s);

    EXPECT_EQ(shownSheets(),
              QStringList{ u"Cannot Delete: “file.txt” was not deleted. Items can be deleted through IPv4 alone, and "
                           "the server's address in the preferences is an IPv6 address.\n\nGive the server's name or "
                           "its IPv4 address instead."_s });
    EXPECT_TRUE(m_operations.isEmpty());
    EXPECT_EQ(m_controller->listEntries().size(), 2);
    m_controller->items().createFolder(u"new"_s);
    EXPECT_EQ(m_operations.size(), 1);
}

TEST_F(ItemActionsTest, EncryptionAndTheTrustedCertificateAreHandedOver)
{
    const QByteArray fingerprint(32, 'f');
    EXPECT_TRUE(TrustedCertificates::standard().trust(u"host"_s, 2121, fingerprint));

    m_controller->items().createFolder(u"in clear"_s);
    EXPECT_EQ(m_encryption, FTPEncryption::None);
    EXPECT_TRUE(m_trustedFingerprints.isEmpty());

    set({ { u"Encryption"_s, u"required"_s }, { u"Address"_s, u"host:2121"_s } });
    m_controller->items().createFolder(u"encrypted"_s);
    EXPECT_EQ(m_encryption, FTPEncryption::Required);
    EXPECT_EQ(m_trustedFingerprints, QList<QByteArray>{ fingerprint });

    QFile::remove(TrustedCertificates::standard().filePath());
}

TEST_F(ItemActionsTest, ACertificateThatIsNotTrustedIsGivenAsTheReason)
{
    const QString reason
        = u", since the server has shown a certificate that is not trusted. Nothing was sent to it.\n\nRefresh the "
          "list: you are then asked about the certificate, or told what is wrong with it."_s;
    m_outcome = ItemOutcome::NotTrusted;

    m_controller->items().deleteFile(u"file.txt"_s);
    EXPECT_EQ(shownSheets(), QStringList{ u"Item Not Deleted: “file.txt” was not deleted"_s + reason });
    answerSheet();
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
    m_controller->items().createFolder(u"new"_s);

    EXPECT_EQ(shownSheets(), QStringList{ u"Folder Not Created: Folder “new” was not created"_s + reason });
    answerSheet();
    EXPECT_EQ(m_controller->listEntries().size(), 2);
    EXPECT_FALSE(m_controller->lc().isReceiving());
}

} // namespace
