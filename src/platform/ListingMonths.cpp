#include "ListingMonths.h"

#include <array>

namespace {

struct NamedMonth {
    const char* name; ///< In small letters; accents in UTF-8 or in Latin-1.
    int month;
};

// Those whose three letters are not the English ones. One list serves all languages: none of them disagree.
constexpr std::array otherMonths{
    NamedMonth{ "abr", 4 },
    NamedMonth{ "ago", 8 },
    NamedMonth{ "ao\xC3\xBBt", 8 },
    NamedMonth{ "ao\xFBt", 8 },
    NamedMonth{ "avr", 4 },
    NamedMonth{ "des", 12 },
    NamedMonth{ "dez", 12 },
    NamedMonth{ "dic", 12 },
    NamedMonth{ "d\xC3\xA9"
                "c",
                12 },
    NamedMonth{ "d\xE9"
                "c",
                12 },
    NamedMonth{ "ene", 1 },
    NamedMonth{ "fev", 2 },
    NamedMonth{ "f\xC3\xA9v", 2 },
    NamedMonth{ "f\xC3\xA9vr", 2 },
    NamedMonth{ "f\xE9v", 2 },
    NamedMonth{ "f\xE9vr", 2 },
    NamedMonth{ "gen", 1 },
    NamedMonth{ "giu", 6 },
    NamedMonth{ "janv", 1 },
    NamedMonth{ "juil", 7 },
    NamedMonth{ "juin", 6 },
    NamedMonth{ "juli", 7 },
    NamedMonth{ "juni", 6 },
    NamedMonth{ "lug", 7 },
    NamedMonth{ "mag", 5 },
    NamedMonth{ "mai", 5 },
    NamedMonth{ "maj", 5 },
    NamedMonth{ "mars", 3 },
    NamedMonth{ "mei", 5 },
    NamedMonth{ "mrt", 3 },
    NamedMonth{ "mrz", 3 },
    NamedMonth{ "m\xC3\xA4r", 3 },
    NamedMonth{ "m\xC3\xA4rz", 3 },
    NamedMonth{ "m\xE4r", 3 },
    NamedMonth{ "m\xE4rz", 3 },
    NamedMonth{ "okt", 10 },
    NamedMonth{ "ott", 10 },
    NamedMonth{ "out", 10 },
    NamedMonth{ "sept", 9 },
    NamedMonth{ "set", 9 },
};

constexpr qsizetype longestMonth = 5;

constexpr char lowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Three letters as one number, to compare them at once.
constexpr quint32 packed(char first, char second, char third)
{
    return static_cast<quint32>(static_cast<quint8>(first)) << 16
        | static_cast<quint32>(static_cast<quint8>(second)) << 8 | static_cast<quint8>(third);
}

constexpr quint32 packed(const char (&letters)[4])
{
    return packed(letters[0], letters[1], letters[2]);
}

quint32 packedInLowerCase(QByteArrayView word)
{
    return packed(lowerCase(word[0]), lowerCase(word[1]), lowerCase(word[2]));
}

int englishMonth(QByteArrayView word)
{
    switch (packedInLowerCase(word)) {
    case packed("jan"):
        return 1;
    case packed("feb"):
        return 2;
    case packed("mar"):
        return 3;
    case packed("apr"):
        return 4;
    case packed("may"):
        return 5;
    case packed("jun"):
        return 6;
    case packed("jul"):
        return 7;
    case packed("aug"):
        return 8;
    case packed("sep"):
        return 9;
    case packed("oct"):
        return 10;
    case packed("nov"):
        return 11;
    case packed("dec"):
        return 12;
    default:
        return 0;
    }
}

bool equalsIgnoringCase(QByteArrayView word, QByteArrayView lower)
{
    if (word.size() != lower.size()) {
        return false;
    }
    for (qsizetype i = 0; i < word.size(); ++i) {
        if (lowerCase(word[i]) != lower[i]) {
            return false;
        }
    }
    return true;
}

} // namespace

int listingMonth(QByteArrayView word)
{
    if (word.endsWith('.')) {
        word.chop(1);
    }
    if (word.size() < 3 || word.size() > longestMonth) {
        return 0;
    }
    if (word.size() == 3) {
        if (const int month = englishMonth(word); month != 0) {
            return month;
        }
    }
    for (const NamedMonth& named : otherMonths) {
        if (equalsIgnoringCase(word, QByteArrayView(named.name))) {
            return named.month;
        }
    }
    return 0;
}

bool isListingWeekday(QByteArrayView word)
{
    if (word.size() != 3) {
        return false;
    }
    switch (packedInLowerCase(word)) {
    case packed("sun"):
    case packed("mon"):
    case packed("tue"):
    case packed("wed"):
    case packed("thu"):
    case packed("fri"):
    case packed("sat"):
        return true;
    default:
        return false;
    }
}
