#include "PermissionText.h"

using namespace Qt::StringLiterals;

namespace {

QChar typeCharacter(int fileType)
{
    switch (fileType) {
    case 1:
        return u'p';
    case 2:
        return u'c';
    case 4:
        return u'd';
    case 6:
        return u'b';
    case 8:
        return u'-';
    case 10:
        return u'l';
    case 12:
        return u's';
    default:
        return u'?';
    }
}

struct Triad {
    int shift; ///< Of its three bits.
    int specialBit; ///< Stands in the place of "x" when it is set.
    char16_t specialWithExecute;
    char16_t specialAlone;
};

constexpr Triad triads[] = {
    { .shift = 6, .specialBit = 04000, .specialWithExecute = u's', .specialAlone = u'S' },
    { .shift = 3, .specialBit = 02000, .specialWithExecute = u's', .specialAlone = u'S' },
    { .shift = 0, .specialBit = 01000, .specialWithExecute = u't', .specialAlone = u'T' },
};

} // namespace

QString permissionText(int type, std::optional<int> mode)
{
    if (!mode) {
        return u"???????????"_s;
    }
    const int bits = (type << 12) + (*mode & 07777);
    QString text(typeCharacter(bits >> 12 & 017));
    for (const Triad& triad : triads) {
        const bool canExecute = (bits >> triad.shift & 1) != 0;
        const bool isSpecial = (bits & triad.specialBit) != 0;
        text += (bits >> triad.shift & 4) != 0 ? u'r' : u'-';
        text += (bits >> triad.shift & 2) != 0 ? u'w' : u'-';
        if (isSpecial) {
            text += QChar(canExecute ? triad.specialWithExecute : triad.specialAlone);
        } else {
            text += canExecute ? u'x' : u'-';
        }
    }
    return text + u' ';
}
