#include "DesktopServices.h"
#include "FileChooser.h"
#include "HistoryWindow.h"
#include "PrivateBus.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QFileDialog>
#include <QUrl>

namespace {

/// The window on a desktop that has a dialog of its own for choosing files.
class PortalTest : public ViewControllerTest {
protected:
    PortalTest()
    {
        m_bus.serve(m_portal);
        FileChooser::setBusSource([this] { return m_bus.connection(); });
        startAgain();
    }
    ~PortalTest() override { FileChooser::setBusSource(nullptr); }

    bool isAsked(const QString& question)
    {
        return waitFor([this, question] { return m_portal.asked.contains(question); });
    }
    void answer(const QString& path)
    {
        m_bus.sendFromService(m_portal.response(0, { QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) }));
    }

    PrivateBus m_bus;
    FileChooserService m_portal;
};

TEST_F(PortalTest, FilesThatAreChosenThereAreUploadedAndTheNextDialogBeginsBesideThem)
{
    const QString file = makeFile(u"été"_s);
    control<QAction>("openFilesAction").trigger();
    ASSERT_TRUE(isAsked(u": Upload Files"_s));
    EXPECT_EQ(m_portal.options.value(u"accept_label"_s).toString(), u"Upload"_s);
    EXPECT_FALSE(m_portal.options.contains(u"current_folder"_s));

    answer(file);

    ASSERT_TRUE(waitFor([this] { return count(Kind::Upload) == 1; }));
    EXPECT_EQ(m_controller->pc().pathToUpload(), file);
    EXPECT_EQ(m_controller->window().findChild<QFileDialog*>(), nullptr);
    m_portal.asked.clear();
    control<QAction>("openFilesAction").trigger();
    ASSERT_TRUE(isAsked(u": Upload Files"_s));
    EXPECT_EQ(m_portal.options.value(u"current_folder"_s).toByteArray(), m_directory.path().toUtf8() + '\0');
}

TEST_F(PortalTest, TheHistoryIsExportedToTheFileThatIsChosenThere)
{
    m_controller->ledger().open(m_directory.filePath(u"history.sqlite"_s), u"Quillbox"_s);
    m_controller->uploadFiles({ makeFile(u"sent"_s) });
    tick();
    finishUpload();
    m_controller->windows().showHistory({});
    HistoryWindow& window = *m_controller->windows().historyWindow();
    auto& button = *window.findChild<QPushButton*>(u"exportHistoryButton"_s);
    ASSERT_TRUE(waitFor([&button] { return button.isEnabled(); }));

    button.click();
    ASSERT_TRUE(isAsked(u": Export History; save"_s));
    EXPECT_EQ(m_portal.options.value(u"current_name"_s).toString(), u"Quillbox history.csv"_s);
    EXPECT_EQ(window.findChild<QFileDialog*>(), nullptr);
    QFile table(m_directory.filePath(u"table.csv"_s));
    answer(table.fileName());

    ASSERT_TRUE(waitFor([&table] { return table.exists() && table.size() > 0; }));
    ASSERT_TRUE(table.open(QIODevice::ReadOnly));
    EXPECT_TRUE(table.readAll().contains(m_directory.filePath(u"sent"_s).toUtf8()));
}

} // namespace
