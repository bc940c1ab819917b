#pragma once

#include "ItemOperations.h"

#include <QString>

#include <functional>

class BrowserHost;
class QWidget;

/// A call that changes one item on the server, and how its outcome is reported.
struct ItemCall {
    QString panelText; ///< Shown while it runs.
    std::function<ItemResult()> call; ///< On a thread of its own.
    QString doneText;
    QString unansweredText;
    QString title; ///< Of the alert about a refusal.
    QString notDoneText; ///< The beginning of the sentence that says why nothing was done.
    QString refusedText;
};

/// Makes @p call and waits for the server's answer, or until the user no longer wants to; then reports the outcome, and
/// has the destination listed again unless the server has refused. @p window has the panel and the sheet. For the main
/// thread.
void runItemCall(const ItemCall& call, QWidget& window, BrowserHost& host);
