#pragma once

#include <QString>

/// Where the files of a drop icon go.
enum class IconSort {
    SubFolder, ///< Into a sub-folder of the icon's name, on the main server.
    OwnServer, ///< To a server of its own.
};

/// The names of drop icons. Pure.
namespace IconName {

/// What there is to say of a name before an icon is made.
enum class Verdict {
    Good,
    NoFolderOfItsOwn, ///< Can be made, but uploads into the same folder as the product itself.
    ProductsName, ///< The product's own name.
    Unsuitable, ///< Names no folder: empty, "." or "..", a "/" at an end or two in a row, ":" or a control character,
                ///< or no text.
    TooLong,
};

/// Of a server of its own a name says nothing, so that each leads to a folder of its own.
Verdict judge(const QString& name, IconSort sort = IconSort::SubFolder);

/// Whether an icon of a name that was judged so is possible.
bool canBeMade(Verdict verdict);

/// The name of the program's file that uploads into the sub-folder @p name; "/" makes levels.
QString fileName(const QString& name);

/// The name of the icon whose program's file is called @p fileName; null when that is nobody's.
QString ofFile(const QString& fileName);

} // namespace IconName
