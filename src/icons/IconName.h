#pragma once

#include <QString>

/// The names of drop icons. Pure.
namespace IconName {

/// What there is to say of a name before an icon is made.
enum class Verdict {
    Good,
    NoFolderOfItsOwn, ///< Can be made, but uploads into the same folder as the product itself.
    ProductsName, ///< The product's own name.
    Unsuitable, ///< Names no folder: empty, "." or "..", a "/" at an end or two in a row, ":" or a control character.
    TooLong,
};

Verdict judge(const QString& name);

/// Whether an icon of a name that was judged so is possible.
bool canBeMade(Verdict verdict);

/// The name of the program's file that uploads into the sub-folder @p name; "/" makes levels.
QString fileName(const QString& name);

/// The name of the icon whose program's file is called @p fileName; null when that is nobody's.
QString ofFile(const QString& fileName);

} // namespace IconName
