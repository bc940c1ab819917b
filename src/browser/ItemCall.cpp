#include "ItemCall.h"

#include "BrowserHost.h"
#include "SheetQueue.h"
#include "WaitingPanel.h"

#include <QWidget>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// What is said when the server's certificate is not trusted. There is no question here: the call that would have to
/// wait for the answer suspends the program.
QString notTrustedText(const ItemCall& call)
{
    return u"%1 was not %2, since the server has shown a certificate that is not trusted. Nothing was sent to "
           "it.\n\nRefresh the list: you are then asked about the certificate, or told what is wrong with it."_s.arg(
               call.subject, call.participle);
}

/// What has come of @p call, whose panel shows meanwhile; std::nullopt when the user has stopped waiting.
std::optional<ItemResult> resultOf(const ItemCall& call, QWidget& window)
{
    const auto result = std::make_shared<ItemResult>(ItemOutcome::Refused); // The call may outlive this.
    const std::optional<bool> isDone = waitForAnswer(&window, call.panelText, [result, call = call.call] {
        *result = call();
        return result->outcome == ItemOutcome::Done;
    });
    return isDone ? std::optional(*result) : std::nullopt;
}

void alertRefused(const ItemCall& call, const QString& words, QWidget& window, BrowserHost& host)
{
    if (words.isNull() || !window.isVisible()) {
        host.showAlert(call.title, call.refusedText);
        return;
    }
    SheetQueue::of(window).raise({ .title = call.title,
                                   .text = call.refusedText,
                                   .details = { { .name = u"The server said"_s, .value = words } } });
}

} // namespace

void runItemCall(const ItemCall& call, QWidget& window, BrowserHost& host)
{
    const std::optional<ItemResult> result = resultOf(call, window);
    if (result && result->outcome == ItemOutcome::NotTrusted) {
        host.showAlert(call.title, notTrustedText(call));
        return;
    }
    if (result && result->outcome == ItemOutcome::Refused) {
        alertRefused(call, result->words, window, host);
        return;
    }
    if (result && result->outcome == ItemOutcome::Done) {
        host.itemDone(u"%1 was %2"_s.arg(call.subject, call.participle));
    } else {
        host.showAlert(
            u"No Answer"_s,
            u"The server has not answered. %1 may or may not have been %2."_s.arg(call.subject, call.participle));
    }
    host.listFTPDestination();
}
