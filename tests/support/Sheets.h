#pragma once

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QStringList>

/// The message boxes that show, as "title: text".
inline QStringList shownSheets()
{
    QStringList sheets;
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        const auto* const box = qobject_cast<const QMessageBox*>(window);
        if (box != nullptr && box->isVisible()) {
            sheets.append(box->text() + QStringLiteral(": ") + box->informativeText());
        }
    }
    return sheets;
}

/// Presses @p button of the message box that shows.
inline void answerSheet(const QString& button = QStringLiteral("OK"))
{
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* const box = qobject_cast<QMessageBox*>(window);
        if (box != nullptr && box->isVisible()) {
            for (QAbstractButton* candidate : box->buttons()) {
                if (candidate->text() == button) {
                    candidate->click();
                    return;
                }
            }
        }
    }
}
