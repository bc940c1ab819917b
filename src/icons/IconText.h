#pragma once

#include "DropIcons.h"

#include <QString>

/// What is said of drop icons: sentences for the person who makes them. Pure.
namespace IconText {

/// What an icon of that name would be, or why there can be none.
QString explanation(const QString& name);

/// What has come of making an icon. @p isListed: there is an icon of that name.
QString outcome(DropIcons::Outcome outcome, bool onDesktop, bool isListed);

/// The question before the icon @p name is removed.
QString removalQuestion(const QString& name);
QString notRemoved(const QString& name);
QString notStarted(const QString& name);

/// @p path as people write it: with "~" for their home folder.
QString location(const QString& path);

} // namespace IconText
