#pragma once

#include "WaitFor.h"

#include <QApplication>
#include <QMessageBox>
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

/// The message boxes that show.
inline QList<QMessageBox*> shownBoxes()
{
    QList<QMessageBox*> boxes;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* const box = qobject_cast<QMessageBox*>(window);
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
    for (const QMessageBox* box : shownBoxes()) {
        sheets.append(box->text() + QStringLiteral(": ") + box->informativeText());
    }
    return sheets;
}

/// Presses @p button of the message box that shows.
inline void answerSheet(const QString& button = QStringLiteral("OK"))
{
    for (const QMessageBox* box : shownBoxes()) {
        for (QAbstractButton* candidate : box->buttons()) {
            if (candidate->text() == button) {
                candidate->click();
                return;
            }
        }
    }
}
