#pragma once

#include <QJsonValue>

class UserDefaults;

/// The setting "DroppedFolders": what becomes of folders among what is dropped, pasted or opened.
namespace DroppedFolders {

/// Whether they are uploaded with what is in them; otherwise, also without the setting, they are left out.
bool areUploaded(const UserDefaults& defaults);
bool areUploaded();

/// What the setting says for either.
QJsonValue value(bool areUploaded);

} // namespace DroppedFolders
