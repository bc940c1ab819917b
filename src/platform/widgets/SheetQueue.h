#pragma once

#include "SheetDetail.h"
#include "SheetList.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class AlertDialog;
class QWidget;

/// A question or a message that belongs to one window.
struct Sheet {
    QString title;
    QString text;
    QString defaultButton = QStringLiteral("OK"); ///< Answers Return, and Escape.
    QString alternateButton = {}; ///< The other choice; empty: there is none.
    std::function<void()> onAlternate = {}; ///< The other choice was made.
    std::function<void()> onDefault = {}; ///< The default choice was made, or the sheet was closed without any.
    QList<SheetDetail> details = {}; ///< Shown below the text, in this order.
    SheetList list = {}; ///< Shown below them.
    const QObject* matter = nullptr; ///< When it is destroyed the sheet goes without an answer; null: it stays.
};

/// The sheets of one window: window-modal, one at a time, in the order in which they were raised. A message without a
/// choice that equals the one showing or one waiting is merged with it; once acknowledged, it can be raised again. A
/// sheet waits for its window to show, and for other modal dialogs of it. While its window has not the keyboard it
/// takes it from nobody, and holds the window, with the keyboard, as soon as the user comes there. Nothing blocks. All
/// texts are plain, never markup.
class SheetQueue final : public QObject {
    Q_OBJECT

public:
    /// The queue of @p window, made on first use and owned by the window.
    static SheetQueue& of(QWidget& window);

    void raise(const Sheet& sheet);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit SheetQueue(QWidget& window);
    void showNext();
    void showNextSoon();
    void withdraw(const QObject* matter);
    void closeAlert();
    void alertHasGone();
    void finished(bool isAlternate);

    QWidget& m_window;
    QPointer<AlertDialog> m_alert; ///< The sheet that shows.
    QList<Sheet> m_sheets; ///< The first one is showing, or waits for a dialog or for the window.
};
