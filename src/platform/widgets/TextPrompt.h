#pragma once

#include <QString>

class QWidget;

/// Asks for one line of text in an application-modal dialog called @p title over @p parent (which may be null) and
/// waits for the answer: the text when "OK" ended the dialog, null otherwise. The prompt is shown as it stands, never
/// as markup.
QString promptForText(QWidget* parent, const QString& title, const QString& prompt, const QString& defaultText);
