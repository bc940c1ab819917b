#include "WaitingPanel.h"

#include "ElidedLabel.h"
#include "InputBlocker.h"
#include "LoopSuspension.h"
#include "WorkerCall.h"

#include <QDialogButtonBox>
#include <QEventLoop>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Most calls are answered before anybody has read what they are about.
constexpr auto unseen = 500ms;

constexpr int panelWidth = 380; ///< In device-independent pixels.

} // namespace

WaitingPanel::WaitingPanel(QWidget* parent, const QString& what)
    : QDialog(parent)
{
    setWindowModality(Qt::ApplicationModal);
    setAttribute(Qt::WA_QuitOnClose, false);
    setWindowTitle(u"Waiting for the Server"_s);
    setMinimumWidth(panelWidth);

    auto* const label = new ElidedLabel(what);
    label->setTextFormat(Qt::PlainText);
    label->setAccessibleDescription(u"Waiting for"_s);
    auto* const bar = new QProgressBar;
    bar->setRange(0, 0); // Nobody knows how long.
    bar->setTextVisible(false);
    bar->setAccessibleName(u"Waiting"_s);
    auto* const buttons = new QDialogButtonBox;
    QPushButton* const stopButton = buttons->addButton(u"Stop Waiting"_s, QDialogButtonBox::RejectRole);
    connect(stopButton, &QPushButton::clicked, this, &QDialog::reject);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(bar);
    layout->addWidget(buttons);
    stopButton->setFocus();
}

std::optional<bool> waitForAnswer(QWidget* parent, const QString& what, std::function<bool()> call)
{
    WaitingPanel panel(parent, what);
    const InputBlocker inputBlocker(panel);
    const LoopSuspension suspension;
    const WorkerCall worker(std::move(call));

    QEventLoop loop;
    QObject::connect(&worker, &WorkerCall::answered, &loop, &QEventLoop::quit);
    QObject::connect(&panel, &QDialog::rejected, &loop, &QEventLoop::quit);
    QTimer appearance(&panel);
    appearance.setSingleShot(true);
    QObject::connect(&appearance, &QTimer::timeout, &panel, &QWidget::show);
    appearance.start(unseen);
    loop.exec();
    return worker.answer();
}
