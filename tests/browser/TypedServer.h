#pragma once

#include <QJsonObject>
#include <QLineEdit>
#include <QRadioButton>
#include <QString>

/// Fills in all that a form asks of a server, and answers what is to be stored of it.
inline QJsonObject typeServer(const QWidget& form)
{
    const auto type = [&form](const char* field, const char* text) {
        form.findChild<QLineEdit*>(QString::fromLatin1(field))->setText(QString::fromLatin1(text));
    };
    type("addressTextField", "other");
    type("usernameTextField", "anna");
    type("passwordTextField", "new");
    type("folderTextField", "in");
    form.findChild<QRadioButton*>(QStringLiteral("requiredEncryptionButton"))->click();
    type("webAddressTextField", "https://other");
    return { { QStringLiteral("Address"), QStringLiteral("other") },
             { QStringLiteral("Username"), QStringLiteral("anna") },
             { QStringLiteral("Password"), QStringLiteral("new") },
             { QStringLiteral("FTPFolder"), QStringLiteral("in") },
             { QStringLiteral("Encryption"), QStringLiteral("required") },
             { QStringLiteral("WebAddress"), QStringLiteral("https://other") } };
}
