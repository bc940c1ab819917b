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
    QString subject; ///< Of the sentences about its outcome: “a.txt”, Folder “a”.
    QString participle; ///< What the subject was then, or was not: deleted, created.
    QString title; ///< Of the alert about a refusal.
    QString refusedText;
};

/// Makes @p call and waits for the server's answer, or until the user no longer wants to; then reports the outcome, and
/// has the destination listed again unless the server has refused. @p window has the panel and the sheet. For the main
/// thread.
void runItemCall(const ItemCall& call, QWidget& window, BrowserHost& host);
