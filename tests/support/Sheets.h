#pragma once

#include "AlertDialog.h"
#include "WaitFor.h"

#include <QApplication>
#include <QPushButton>
#include <QStringList>

#include <gtest/gtest.h>

/// Shows @p window and gives it the keyboard.
inline void showInFront(QWidget& window)
{
    window.show();
    window.activateWindow();
    EXPECT_TRUE(waitFor([&window] { return window.isActiveWindow(); }));
}

/// The alerts that show.
inline QList<AlertDialog*> shownBoxes()
{
    QList<AlertDialog*> boxes;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* const box = qobject_cast<AlertDialog*>(window);
        if (box != nullptr && box->isVisible()) {
            boxes.append(box);
        }
    }
    return boxes;
}

/// What they say, as "title: text".
inline QStringList shownSheets()
{
    QStringList sheets;
    for (const AlertDialog* box : shownBoxes()) {
        sheets.append(box->title() + QStringLiteral(": ") + box->text());
    }
    return sheets;
}

/// Presses @p button of the alert that shows.
inline void answerSheet(const QString& button = QStringLiteral("OK"))
{
    for (const AlertDialog* box : shownBoxes()) {
        for (QAbstractButton* candidate : box->buttons()) {
            if (candidate->text() == button) {
                candidate->click();
                return;
            }
        }
    }
}
