#pragma once

#include "DropIcons.h"

#include <QString>

#include <optional>

/// What is said of drop icons: sentences for the person who makes them. Pure.
namespace IconText {

/// What an icon of that name and sort would be, or why there can be none.
QString explanation(const QString& name, IconSort sort);

/// What becomes of the settings of @p icon, which is to have a server of its own no longer.
QString settingsLost(const DropIcons::Icon& icon);

/// Where the files of one without a server of its own go; a null @p destination: nowhere, as the main settings name no
/// server, or cannot be read.
QString destination(const QString& destination, bool areSettingsReadable);

/// Where it is to be found.
QString made(bool onDesktop);

/// Why an icon was not made or changed. @p isListed: there is another icon of that name.
QString failure(DropIcons::Outcome outcome, bool isListed);

// std::nullopt says of an icon that nobody knows whether it is running.

/// What of the icon @p name cannot be changed, or not for what is running; null when that is nothing.
QString running(const QString& name, std::optional<bool> isRunning);

/// The question before @p icon is removed.
QString removalQuestion(const DropIcons::Icon& icon, std::optional<bool> isRunning);
QString notRemoved(const QString& name);
QString notStarted(const QString& name);

} // namespace IconText
