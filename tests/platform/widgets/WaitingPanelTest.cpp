#include "WaitingPanel.h"

#include "LoopSuspension.h"
#include "ModalState.h"
#include "Printers.h"
#include "SlowCall.h"
#include "WaitFor.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class WaitingPanelTest : public ::testing::Test {
protected:
    WaitingPanelTest() { m_window.show(); }

    static WaitingPanel* shownPanel()
    {
        auto* const panel = qobject_cast<WaitingPanel*>(QApplication::activeModalWidget());
        return panel != nullptr && panel->isVisible() ? panel : nullptr;
    }
    /// Calls @p act with the panel once it shows.
    void whenShown(std::function<void(WaitingPanel&)> act)
    {
        QObject::connect(&m_look, &QTimer::timeout, &m_look, [this, act = std::move(act)] {
            if (WaitingPanel* const panel = shownPanel()) {
                m_look.stop();
                act(*panel);
            }
        });
        m_look.start(5);
    }
    std::optional<bool> wait() { return waitForAnswer(&m_window, u"Deleting “<b>x</b>”…"_s, m_call.function()); }

    QWidget m_window;
    QTimer m_look;
    SlowCall m_call;
};

TEST_F(WaitingPanelTest, TheAnswerIsThatOfTheCall)
{
    EXPECT_EQ(waitForAnswer(&m_window, u"x"_s, [] { return true; }), true);
    EXPECT_EQ(waitForAnswer(nullptr, u"x"_s, [] { return false; }), false);
}

TEST_F(WaitingPanelTest, AnAnswerWithinHalfASecondShowsNoPanel)
{
    bool hasShown = false;
    whenShown([&hasShown](WaitingPanel& /*panel*/) { hasShown = true; });
    QTimer::singleShot(100, &m_window, [this] { m_call.release(); });

    EXPECT_EQ(wait(), true);

    EXPECT_FALSE(hasShown);
}

TEST_F(WaitingPanelTest, AfterHalfASecondAPanelSaysWhatIsGoingOnUntilTheAnswerComes)
{
    int delay = 0;
    QMetaObject::invokeMethod(
        &m_window,
        [&delay, this] {
            const auto* const panel = m_window.findChild<WaitingPanel*>();
            EXPECT_FALSE(panel->isVisible());
            delay = panel->findChild<QTimer*>()->interval();
        },
        Qt::QueuedConnection);
    QStringList texts;
    Qt::TextFormat format = Qt::AutoText;
    whenShown([&, this](WaitingPanel& panel) {
        auto* const label = panel.findChild<QLabel*>();
        texts = { label->text(), panel.findChild<QPushButton*>()->text() };
        format = label->textFormat();
        EXPECT_EQ(panel.windowModality(), Qt::ApplicationModal);
        EXPECT_EQ(panel.findChildren<QPushButton*>().size(), 1);
        m_call.release();
    });

    EXPECT_EQ(wait(), true);

    EXPECT_EQ(delay, 500);
    EXPECT_EQ(texts, (QStringList{ u"Deleting “<b>x</b>”…"_s, u"Stop Waiting"_s }));
    EXPECT_EQ(format, Qt::PlainText);
    EXPECT_EQ(shownPanel(), nullptr);
}

TEST_F(WaitingPanelTest, ThereAreFourWaysToStopWaiting)
{
    const std::vector<std::function<void(WaitingPanel&)>> ways{
        [](const WaitingPanel& panel) { panel.findChild<QPushButton*>()->click(); },
        [](const WaitingPanel& panel) { QTest::keyClick(panel.focusWidget(), Qt::Key_Space); },
        [](WaitingPanel& panel) { QTest::keyClick(&panel, Qt::Key_Escape); },
        [](WaitingPanel& panel) { panel.close(); },
    };
    for (const auto& way : ways) {
        whenShown(way);

        EXPECT_EQ(wait(), std::nullopt);
        EXPECT_FALSE(m_call.hasEnded());
        EXPECT_EQ(shownPanel(), nullptr);
        m_look.disconnect();
    }
}

TEST_F(WaitingPanelTest, ALateAnswerChangesNothing)
{
    whenShown([](WaitingPanel& panel) { panel.reject(); });
    EXPECT_EQ(wait(), std::nullopt);

    m_call.release();
    EXPECT_TRUE(waitFor([this] { return m_call.hasEnded(); }));
    drainEventLoop();

    EXPECT_FALSE(LoopSuspension::isActive());
    EXPECT_EQ(waitForAnswer(&m_window, u"x"_s, [] { return false; }), false);
}

TEST_F(WaitingPanelTest, TheLoopIsHeldFromTheFirstMomentToTheAnswer)
{
    QList<bool> suspended;
    const auto look = [&suspended] { suspended.append(LoopSuspension::isActive() && isMainLoopSuspended()); };
    QMetaObject::invokeMethod(&m_window, look, Qt::QueuedConnection);
    whenShown([&look, this](WaitingPanel& /*panel*/) {
        look();
        m_call.release();
    });

    EXPECT_EQ(wait(), true);

    EXPECT_EQ(suspended, (QList<bool>{ true, true }));
    EXPECT_FALSE(LoopSuspension::isActive());
    EXPECT_FALSE(isMainLoopSuspended());
}

TEST_F(WaitingPanelTest, TheUserIsKeptFromTheWindowBeforeThePanelShows)
{
    QTimer::singleShot(0, &m_window, [this] {
        EXPECT_FALSE(m_window.close());
        m_call.release();
    });

    EXPECT_EQ(wait(), true);

    EXPECT_TRUE(m_window.isVisible());
}

TEST_F(WaitingPanelTest, TheWindowIsPaintedMeanwhile)
{
    class Canvas final : public QWidget {
    public:
        using QWidget::QWidget;
        bool isPainted = false;

    protected:
        void paintEvent(QPaintEvent* /*event*/) override { isPainted = true; }
    };
    Canvas canvas;
    canvas.show();
    ASSERT_TRUE(waitFor([&canvas] { return canvas.isPainted; }));
    canvas.isPainted = false;
    canvas.update();
    whenShown([this](WaitingPanel& /*panel*/) { m_call.release(); });
    bool wasPainted = false;
    QTimer::singleShot(200, &canvas, [&] { wasPainted = canvas.isPainted; });

    EXPECT_EQ(wait(), true);

    EXPECT_TRUE(wasPainted);
}

TEST_F(WaitingPanelTest, ALongNameDoesNotWidenThePanel)
{
    const WaitingPanel brief(&m_window, u"Deleting “x”…"_s);

    const WaitingPanel lengthy(&m_window, u"Deleting “%1”…"_s.arg(QString(4000, u'x')));

    EXPECT_EQ(lengthy.sizeHint(), brief.sizeHint());
}

} // namespace
