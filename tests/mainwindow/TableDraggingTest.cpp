#include "Delays.h"
#include "DragExtraction.h"
#include "ListingTable.h"
#include "PromisedFile.h"
#include "QueuedFilesView.h"
#include "ViewControllerTest.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QTest>
#include <QUrl>

namespace {

class TableDraggingTest : public ViewControllerTest {
protected:
    TableDraggingTest()
    {
        QDir(m_directory.path()).mkdir(u"out"_s);
        for (const QString& name : { u"a.txt"_s, u"b.txt"_s }) {
            add(name, ListingEntry::plainFileType);
        }
        add(u"c"_s, ListingEntry::folderType);
    }

    void add(const QString& name, int type)
    {
        ListingEntry entry;
        entry.name = name;
        entry.type = type;
        m_controller->addListEntries({ entry });
    }
    ListingTable& table() { return control<ListingTable>("destinationListingTable"); }

    /// Makes the drag name @p paths.
    void name(const QStringList& paths)
    {
        QList<QUrl> urls;
        for (const QString& path : paths) {
            urls.append(QUrl::fromLocalFile(path));
        }
        m_data.setUrls(urls);
    }
    Qt::DropAction enter(const QPoint& place)
    {
        QDragEnterEvent enter(place, Qt::CopyAction | Qt::MoveAction, &m_data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(table().viewport(), &enter);
        EXPECT_TRUE(enter.isAccepted()); // Or the end of the drag would not be told.
        QDragMoveEvent move(place, Qt::CopyAction | Qt::MoveAction, &m_data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(table().viewport(), &move);
        EXPECT_EQ(move.dropAction(), enter.dropAction());
        return enter.dropAction();
    }
    /// Sends the events of a whole drop onto the table; answers the action that was accepted.
    Qt::DropAction drop(const QPoint& place = { 40, 40 }, Qt::DropAction proposed = Qt::CopyAction)
    {
        enter(place);
        QDropEvent event(place, Qt::CopyAction | Qt::MoveAction, &m_data, Qt::LeftButton, Qt::NoModifier);
        event.setDropAction(proposed);
        QApplication::sendEvent(table().viewport(), &event);
        EXPECT_EQ(event.isAccepted(), event.dropAction() != Qt::IgnoreAction);
        return event.dropAction();
    }
    /// What the drop area shows.
    QString queued() { return control<QueuedFilesView>("textView").toPlainText(); }
    static QString listed(const QStringList& files)
    {
        QString text;
        for (qsizetype i = 0; i < files.size(); ++i) {
            text += u"%1) %2\n\n"_s.arg(i + 1).arg(files[i]);
        }
        return text;
    }

    /// Presses the mouse on the first row and moves it. A drag that begins runs until this test runs out of time.
    void dragFirstRow()
    {
        const QPoint row(60, 15);
        QTest::mousePress(table().viewport(), Qt::LeftButton, {}, row);
        for (const int distance : { 5, 40 }) {
            const QPointF place = row + QPoint(distance, distance);
            QMouseEvent move(QEvent::MouseMove, place, table().viewport()->mapToGlobal(place), Qt::NoButton,
                             Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(table().viewport(), &move);
        }
        QTest::mouseRelease(table().viewport(), Qt::LeftButton, {}, row);
    }

    void startUpload()
    {
        m_controller->uploadFiles({ makeFile(u"up"_s) });
        tick();
    }
    QString out(const QString& name = u""_s) const
    {
        return m_directory.filePath(u"out"_s + (name.isEmpty() ? u""_s : u'/' + name));
    }
    QStringList fulfil(const QList<int>& rows)
    {
        return m_controller->dragging().namesOfPromisedFilesDroppedAtDestination(out(), rows);
    }
    /// Lets the running download bring @p bytes.
    void bring(const QByteArray& bytes)
    {
        FakeFTPStream& stream = latest(FakeFTPStream::Kind::Download);
        stream.sendOpenCompleted();
        stream.sendBytes(bytes);
        stream.sendEnd();
    }
    QByteArray contents(const QString& name) const
    {
        QFile file(out(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "none"_ba;
    }

    QMimeData m_data;
};

const QString overwriteA = u"File \"a.txt\" Exists.: Do you want to overwrite the existing file \"a.txt\"?"_s;

// Onto the table.

TEST_F(TableDraggingTest, APasteboardsPlainFilesAreTakenInItsOrder)
{
    EXPECT_EQ(m_controller->dragging().pasteboardHasFiles(m_data), QStringList());
    m_data.setText(u"/etc/passwd"_s);
    EXPECT_EQ(m_controller->dragging().pasteboardHasFiles(m_data), QStringList());
    m_data.setUrls({});
    EXPECT_EQ(m_controller->dragging().pasteboardHasFiles(m_data), QStringList());

    const QString z = makeFile(u"z é %41"_s);
    const QString a = makeFile(u"a"_s);
    QFile::link(a, m_directory.filePath(u"link"_s));
    name({ z, m_directory.filePath(u"gone"_s), out(), a, m_directory.filePath(u"link"_s) });

    EXPECT_EQ(m_controller->dragging().pasteboardHasFiles(m_data),
              (QStringList{ z, a, m_directory.filePath(u"link"_s) }));
}

TEST_F(TableDraggingTest, ADragOfFileNamesIsACopyOntoTheWholeTable)
{
    TableDrop drop{ .row = 1, .operation = TableDrop::Operation::Above };
    m_data.setText(u"text"_s);
    EXPECT_EQ(m_controller->dragging().validateDrop(m_data, drop), Qt::IgnoreAction);
    EXPECT_EQ(drop.row, 1);

    name({ m_directory.filePath(u"gone"_s) }); // Whether they are files is not looked at yet.
    EXPECT_EQ(m_controller->dragging().validateDrop(m_data, drop), Qt::CopyAction);
    EXPECT_EQ(drop.row, -1);
    EXPECT_EQ(drop.operation, TableDrop::Operation::On);
}

TEST_F(TableDraggingTest, TheTableTakesDropsAnywhere)
{
    const QString file = makeFile(u"new"_s);
    name({ file });
    for (const QPoint& place : { QPoint(40, 40), QPoint(40, 200) }) { // On a row, and below the rows.
        EXPECT_EQ(drop(place), Qt::CopyAction);
        passDelaysOf(*m_controller);
        EXPECT_EQ(queued(), listed({ file }));
        m_controller->clearQueue();
        control<QueuedFilesView>("textView").setFiles({});
    }
}

TEST_F(TableDraggingTest, AMoveBecomesACopySoThatTheSourceKeepsItsFiles)
{
    name({ makeFile(u"new"_s) });

    EXPECT_EQ(drop({ 40, 40 }, Qt::MoveAction), Qt::CopyAction);
}

TEST_F(TableDraggingTest, TheFilesGoToTheQueueASecondAfterTheDrop)
{
    const QString file = makeFile(u"new"_s);
    name({ file });
    EXPECT_EQ(m_controller->dragging().droppedFiles(), QStringList());

    EXPECT_TRUE(m_controller->dragging().acceptDrop(m_data, {}));

    EXPECT_EQ(m_controller->dragging().droppedFiles(), QStringList{ file });
    EXPECT_EQ(queued(), u""_s);
    EXPECT_EQ(delaysOf(*m_controller), QList<int>{ 1000 });
    passDelaysOf(*m_controller);
    EXPECT_EQ(queued(), listed({ file }));
}

TEST_F(TableDraggingTest, TwoDropsWithinOneSecondHandOverTheirOwnFilesEach)
{
    const QString first = makeFile(u"first"_s);
    const QString second = makeFile(u"second"_s);
    name({ first });
    m_controller->dragging().acceptDrop(m_data, {});
    name({ second });
    m_controller->dragging().acceptDrop(m_data, {});
    EXPECT_EQ(m_controller->dragging().droppedFiles(), QStringList{ second });

    passDelaysOf(*m_controller);
    tick();
    EXPECT_EQ(upload().location, u"ftp://host/in/first"_s);
    EXPECT_EQ(m_controller->fileUploadQueue(), QStringList{ second });
}

TEST_F(TableDraggingTest, FoldersAloneAreRefusedWithAnAlert)
{
    name({ out() });

    EXPECT_EQ(drop(), Qt::IgnoreAction);

    EXPECT_EQ(shownSheets(), QStringList{ u"No Files: Drop files only."_s });
    EXPECT_EQ(m_controller->dragging().droppedFiles(), QStringList());
    EXPECT_EQ(m_controller->history().queueTally(), FileTally{ .leftOut = 1 });
}

TEST_F(TableDraggingTest, OfAMixTheFilesAreTakenAndTheRestIsLeftOut)
{
    const QString file = makeFile(u"new"_s);
    name({ out(), file });

    EXPECT_EQ(drop(), Qt::CopyAction);

    passDelaysOf(*m_controller);
    EXPECT_EQ(queued(), listed({ file }));
    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_EQ(m_controller->history().queueTally(), FileTally{ .leftOut = 1 });
}

TEST_F(TableDraggingTest, ADragOfTextIsNotTaken)
{
    m_data.setText(u"text"_s);

    EXPECT_EQ(drop(), Qt::IgnoreAction);

    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(TableDraggingTest, TheTableShowsThatItTakesADropAsLongAsTheDragIsOverIt)
{
    const auto picture = [this] { return table().grab().toImage(); };
    const QImage calm = picture();
    name({ makeFile(u"new"_s) });

    enter({ 40, 40 });
    EXPECT_NE(picture(), calm);
    QDragLeaveEvent leave;
    QApplication::sendEvent(table().viewport(), &leave);
    EXPECT_EQ(picture(), calm);

    enter({ 40, 40 });
    drop();
    EXPECT_EQ(picture(), calm);
    m_data.clear();
    m_data.setText(u"text"_s);
    enter({ 40, 40 });
    EXPECT_EQ(picture(), calm);
}

TEST_F(TableDraggingTest, TheTableShowsADropByALineOfFiveAtItsEdge)
{
    name({ makeFile(u"new"_s) });

    enter({ 40, 40 });

    const QImage picture = table().viewport()->grab().toImage();
    const QColor line = table().palette().color(QPalette::Highlight);
    const int middle = picture.height() / 2;
    EXPECT_EQ(picture.pixelColor(0, middle), line);
    EXPECT_EQ(picture.pixelColor(4, middle), line);
    EXPECT_NE(picture.pixelColor(5, middle), line);
}

// Out of the table.

TEST_F(TableDraggingTest, APromiseHoldsTheNumberOfTheFirstRow)
{
    EXPECT_TRUE(m_controller->dragging().writeRowsWithIndexes({ 1, 2 }, m_data));

    EXPECT_EQ(m_data.data(ItemDragging::promiseFormat), "[\"1\"]"_ba);
    EXPECT_FALSE(m_data.hasUrls());
}

TEST_F(TableDraggingTest, NoRowIsDraggedWhileSomethingIsSentOrReceived)
{
    startUpload();

    EXPECT_FALSE(m_controller->dragging().writeRowsWithIndexes({ 0 }, m_data));

    EXPECT_EQ(m_data.formats(), QStringList());
    EXPECT_EQ(shownSheets(), QStringList{ waitForUpload });
    answerSheet();
    m_controller->stopButtonAction();
    m_controller->items().downloadFile(u"a.txt"_s, out());
    EXPECT_FALSE(m_controller->dragging().writeRowsWithIndexes({ 0 }, m_data));
    EXPECT_EQ(shownSheets(), QStringList{ u"Cannot Download: Wait for the current download to complete."_s });
}

TEST_F(TableDraggingTest, AMouseDragDuringAnUploadOnlyTellsWhy)
{
    startUpload();
    dragFirstRow();

    EXPECT_EQ(shownSheets(), QStringList{ waitForUpload });
}

TEST_F(TableDraggingTest, APromisedFileIsDownloadedIntoTheFolderOfTheDrop)
{
    EXPECT_EQ(fulfil({ 0, 1 }), QStringList{ u"a.txt"_s });

    EXPECT_EQ(latest(FakeFTPStream::Kind::Download).location, u"ftp://host/in/a.txt"_s);
    bring("bytes");
    EXPECT_EQ(contents(u"a.txt"_s), "bytes");
    EXPECT_EQ(count(FakeFTPStream::Kind::Download), 1);
    EXPECT_EQ(QDir(out()).entryList(QDir::Files), QStringList{ u"a.txt"_s });
}

/// Begins a drag of which only the promise is kept: the test sends its target's request.
class PromiseKeeper final : public TableDragging {
public:
    explicit PromiseKeeper(TableDragging& real)
        : m_real(real)
    {
    }

    Qt::DropAction validateDrop(const QMimeData& data, TableDrop& drop) const override
    {
        return m_real.validateDrop(data, drop);
    }
    bool acceptDrop(const QMimeData& data, const TableDrop& drop) override { return m_real.acceptDrop(data, drop); }
    bool writeRowsWithIndexes(const QList<int>& /*rows*/, QMimeData& pasteboard) override
    {
        static_cast<PromisedFile&>(pasteboard).begin(); // Or its extraction would end with the refused drag.
        static_cast<PromisedFile&>(pasteboard).setDropped();
        return false;
    }
    QStringList namesOfPromisedFilesDroppedAtDestination(const QString& destination, const QList<int>& rows) override
    {
        return m_real.namesOfPromisedFilesDroppedAtDestination(destination, rows);
    }
    std::function<void(const QString& folder)> promiseOf(const ListingEntry& entry) override
    {
        return m_real.promiseOf(entry);
    }
    void refuseFileName(const QString& name) override { m_real.refuseFileName(name); }

private:
    TableDragging& m_real;
};

TEST_F(TableDraggingTest, TheDraggedItemIsMeantWhereverItStandsAtTheDrop)
{
    PromiseKeeper keeper(m_controller->dragging());
    table().setDragging(&keeper);
    for (const bool isRefreshing : { false, true }) {
        dragFirstRow();
        table().horizontalHeader()->setSortIndicator(0, isRefreshing ? Qt::AscendingOrder : Qt::DescendingOrder);
        if (isRefreshing) {
            m_controller->listFTPDestination();
        }

        table().findChild<DragExtraction*>()->extractSelectedFilesTo(out());

        const QString dragged = isRefreshing ? u"c"_s : u"a.txt"_s;
        ASSERT_TRUE(waitFor([this] { return m_controller->gc().isReceiving(); }));
        EXPECT_EQ(latest(FakeFTPStream::Kind::Download).location, u"ftp://host/in/"_s + dragged);
        bring("bytes");
        EXPECT_EQ(contents(dragged), "bytes");
    }
    table().setDragging(&m_controller->dragging());
}

TEST_F(TableDraggingTest, TheDraggedItemIsMeantAndNotAnotherOneThatShowsTheSameName)
{
    PromiseKeeper keeper(m_controller->dragging());
    table().setDragging(&keeper);
    dragFirstRow();
    m_controller->listFTPDestination();
    ListingEntry other;
    other.name = u"a.txt"_s;
    other.rawName = "other"_ba;
    m_controller->addListEntries({ other });

    table().findChild<DragExtraction*>()->extractSelectedFilesTo(out());

    ASSERT_TRUE(waitFor([this] { return m_controller->gc().isReceiving(); }));
    EXPECT_EQ(latest(FakeFTPStream::Kind::Download).location, u"ftp://host/in/a.txt"_s);
    table().setDragging(&m_controller->dragging());
}

TEST_F(TableDraggingTest, ARowThatIsNotListedPromisesNothing)
{
    EXPECT_EQ(fulfil({ 3 }), QStringList());
    EXPECT_EQ(fulfil({}), QStringList());
    m_controller->listFTPDestination();
    EXPECT_EQ(fulfil({ 0 }), QStringList());

    EXPECT_EQ(count(FakeFTPStream::Kind::Download), 0);
}

TEST_F(TableDraggingTest, AFoldersRowIsDownloadedLikeAFile)
{
    EXPECT_EQ(fulfil({ 2 }), QStringList{ u"c"_s });

    EXPECT_EQ(latest(FakeFTPStream::Kind::Download).location, u"ftp://host/in/c"_s);
}

TEST_F(TableDraggingTest, AnExistingFileIsKeptUnlessTheUserWantsOtherwise)
{
    for (const bool overwrites : { false, true }) {
        QFile file(out(u"a.txt"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("mine");
        file.close();

        EXPECT_EQ(fulfil({ 0 }), QStringList{ u"a.txt"_s });

        EXPECT_EQ(shownSheets(), QStringList{ overwriteA });
        EXPECT_EQ(count(FakeFTPStream::Kind::Download), 0);
        answerSheet(overwrites ? u"Overwrite"_s : u"Cancel"_s);
        EXPECT_EQ(count(FakeFTPStream::Kind::Download), 0);
        EXPECT_EQ(delaysOf(*m_controller), overwrites ? QList<int>{ 1000 } : QList<int>());
        EXPECT_EQ(contents(u"a.txt"_s), "mine");
    }
    passDelaysOf(*m_controller);
    bring("theirs");
    EXPECT_EQ(contents(u"a.txt"_s), "theirs");
}

TEST_F(TableDraggingTest, AnAnswerThatComesDueUnderAnotherDestinationOverwritesNothing)
{
    makeFile(u"out/a.txt"_s);
    fulfil({ 0 });
    answerSheet(u"Overwrite"_s);

    set(u"FTPFolder"_s, u"elsewhere"_s);
    passDelaysOf(*m_controller);

    EXPECT_EQ(count(FakeFTPStream::Kind::Download), 0);
    EXPECT_EQ(shownSheets(),
              QStringList{ u"Destination Changed: Nothing was done to “a.txt”, since the destination has changed."_s });
}

TEST_F(TableDraggingTest, AFileThatIsOverwrittenIsKeptUntilTheDownloadIsWhole)
{
    enum class End { Failure, Quit, Whole };
    for (const End end : { End::Failure, End::Quit, End::Whole }) {
        SCOPED_TRACE(static_cast<int>(end));
        makeFile(u"out/a.txt"_s, "mine");
        fulfil({ 0 });
        answerSheet(u"Overwrite"_s);
        passDelaysOf(*m_controller);
        FakeFTPStream& stream = latest(Kind::Download);
        stream.sendOpenCompleted();
        stream.sendBytes("theirs");
        EXPECT_EQ(contents(u"a.txt"_s), "mine");

        if (end == End::Failure) {
            stream.sendRefusal(426);
        } else if (end == End::Quit) {
            QMetaObject::invokeMethod(QCoreApplication::instance(), "aboutToQuit");
        } else {
            stream.sendEnd();
        }

        EXPECT_EQ(contents(u"a.txt"_s), end == End::Whole ? "theirs" : "mine");
        EXPECT_EQ(QDir(out()).entryList(QDir::Files), QStringList{ u"a.txt"_s });
    }
    m_controller->items().downloadFile(u"a.txt"_s, out()); // Nobody was asked about this one.
    EXPECT_EQ(contents(u"a.txt"_s), "");
}

TEST_F(TableDraggingTest, NoFileIsWrittenThroughALink)
{
    const QString outside = m_directory.filePath(u"outside"_s);
    for (const bool leadsToFile : { false, true }) {
        QFile::remove(out(u"a.txt"_s));
        if (leadsToFile) {
            makeFile(u"outside"_s, "mine");
        }
        ASSERT_TRUE(QFile::link(outside, out(u"a.txt"_s)));

        m_controller->items().downloadFile(u"a.txt"_s, out());
        bring("bytes");

        EXPECT_EQ(contents(u"a.txt"_s), "bytes");
        EXPECT_FALSE(QFileInfo(out(u"a.txt"_s)).isSymLink());
        EXPECT_EQ(QFileInfo(outside).size(), leadsToFile ? 4 : 0);
        EXPECT_EQ(QFileInfo::exists(outside), leadsToFile);
    }
}

TEST_F(TableDraggingTest, TheQuestionSaysThatALinkStandsInTheFilesPlace)
{
    for (const bool leadsToFile : { false, true }) {
        const QString outside = leadsToFile ? makeFile(u"outside"_s, "mine") : m_directory.filePath(u"outside"_s);
        QFile::remove(out(u"a.txt"_s));
        ASSERT_TRUE(QFile::link(outside, out(u"a.txt"_s)));

        fulfil({ 0 });

        EXPECT_EQ(count(Kind::Download), 0);
        EXPECT_EQ(shownSheets(),
                  QStringList{
                      overwriteA
                      + u"\n\nIt is a link to “%1”. The link is replaced, what it leads to is not."_s.arg(outside) });
        answerSheet(u"Cancel"_s);
        EXPECT_TRUE(QFileInfo(out(u"a.txt"_s)).isSymLink());
    }
}

TEST_F(TableDraggingTest, AFolderInThePlaceOfTheFileIsAskedAboutToo)
{
    ASSERT_TRUE(QDir(out()).mkdir(u"a.txt"_s));

    fulfil({ 0 });

    EXPECT_EQ(shownSheets(), QStringList{ overwriteA });
    EXPECT_EQ(count(Kind::Download), 0);
}

TEST_F(TableDraggingTest, ReturnKeepsTheExistingFile)
{
    QFile file(out(u"a.txt"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    showInFront(m_controller->window());

    fulfil({ 0 });

    QWidget* const sheet = QApplication::activeModalWidget();
    ASSERT_NE(sheet, nullptr);
    QTest::keyClick(sheet, Qt::Key_Return);
    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_EQ(delaysOf(*m_controller), QList<int>());
    EXPECT_EQ(count(FakeFTPStream::Kind::Download), 0);
}

TEST_F(TableDraggingTest, WhatActsUnseenInANameIsShownInTheQuestionAndInTheLocalName)
{
    const QString name = u"<b>%1%2\u202Etxt.exe\u001b"_s;
    const QString shownName = u"<b>%1%2\u27e8U+202E\u27e9txt.exe\u241b"_s;
    m_controller->listFTPDestination();
    add(name, ListingEntry::plainFileType);

    fulfil({ 0 });
    bring("bytes");
    EXPECT_EQ(QDir(out()).entryList(QDir::Files), QStringList{ shownName }); // Its local name is what is shown.
    EXPECT_EQ(contents(shownName), "bytes");
    fulfil({ 0 });

    EXPECT_EQ(shownSheets(), QStringList{ QString(overwriteA).replace(u"a.txt"_s, shownName) });
}

TEST_F(TableDraggingTest, ANameThatIsNoUTF8IsAskedForByItsBytes)
{
    m_controller->listFTPDestination();
    ListingEntry entry;
    entry.name = u"caf√©"_s;
    entry.rawName = "caf\xE9"_ba;
    m_controller->addListEntries({ entry });
    QFile file(out(entry.name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    fulfil({ 0 });
    answerSheet(u"Overwrite"_s);
    passDelaysOf(*m_controller);

    EXPECT_EQ(latest(FakeFTPStream::Kind::Download).location, u"ftp://host/in/caf%E9"_s);
    bring("bytes");
    EXPECT_EQ(contents(entry.name), "bytes");
}

TEST_F(TableDraggingTest, ANameThatIsNoFileNameLeadsNowhereWhenDropped)
{
    m_controller->listFTPDestination();
    add(u"../a.txt"_s, ListingEntry::plainFileType);
    const QString neighbour = makeFile(u"a.txt"_s, "precious");

    fulfil({ 0 });
    tick();

    EXPECT_EQ(shownSheets(), QStringList());
    EXPECT_EQ(text("statusTextField"), u"Invalid Desftination File"_s);
    EXPECT_EQ(QFileInfo(neighbour).size(), 8);
    EXPECT_EQ(count(FakeFTPStream::Kind::Download), 0);
}

TEST_F(TableDraggingTest, AnItemThatNoFileCanBeNamedAfterIsNotDragged)
{
    m_controller->listFTPDestination();
    add(u"../a.txt"_s, ListingEntry::plainFileType);
    dragFirstRow();
    tick();

    EXPECT_EQ(text("statusTextField"), u"Invalid Desftination File"_s);
}

} // namespace
