#pragma once

#include "ProgramCopies.h"

#include <QString>

/// What is said of copies of the program: sentences for the person who makes them. Pure.
namespace CopyText {

/// What a copy of that name would be, or why there can be none.
QString explanation(const QString& name);

/// What has come of making a copy. @p isListed: there is a copy of that name.
QString outcome(ProgramCopies::Outcome outcome, bool onDesktop, bool isListed);

/// The question before the copy @p name is removed.
QString removalQuestion(const QString& name);
QString notRemoved(const QString& name);
QString notStarted(const QString& name);

/// @p path as people write it: with "~" for their home folder.
QString location(const QString& path);

} // namespace CopyText
