#include "ListingMonths.h"

#include <array>

namespace {

struct NamedMonth {
    QByteArrayView name; ///< In small letters, in UTF-8 or in the one-byte code of its language (Latin-1, Latin-2).
    int month;
};

// Those that are not the three English letters: what ls prints in French, German, Italian, Spanish, Portuguese, Dutch,
// the Nordic languages, Polish, Czech, Romanian, Hungarian, Finnish and Russian. One list serves all of them: none
// disagree.
constexpr std::array otherMonths{
    NamedMonth{ "ene", 1 },       NamedMonth{ "gen", 1 },     NamedMonth{ "ian", 1 },        NamedMonth{ "janv", 1 },
    NamedMonth{ "jän", 1 },       NamedMonth{ "j\344n", 1 },  NamedMonth{ "led", 1 },        NamedMonth{ "sty", 1 },
    NamedMonth{ "tammi", 1 },     NamedMonth{ "янв", 1 },     NamedMonth{ "febr", 2 },       NamedMonth{ "fev", 2 },
    NamedMonth{ "fév", 2 },       NamedMonth{ "févr", 2 },    NamedMonth{ "f\351v", 2 },     NamedMonth{ "f\351vr", 2 },
    NamedMonth{ "helmi", 2 },     NamedMonth{ "lut", 2 },     NamedMonth{ "úno", 2 },        NamedMonth{ "фев", 2 },
    NamedMonth{ "\372no", 2 },    NamedMonth{ "bře", 3 },     NamedMonth{ "b\370e", 3 },     NamedMonth{ "maalis", 3 },
    NamedMonth{ "mars", 3 },      NamedMonth{ "mrt", 3 },     NamedMonth{ "mrz", 3 },        NamedMonth{ "márc", 3 },
    NamedMonth{ "mär", 3 },       NamedMonth{ "märz", 3 },    NamedMonth{ "m\341rc", 3 },    NamedMonth{ "m\344r", 3 },
    NamedMonth{ "m\344rz", 3 },   NamedMonth{ "мар", 3 },     NamedMonth{ "abr", 4 },        NamedMonth{ "april", 4 },
    NamedMonth{ "avr", 4 },       NamedMonth{ "avril", 4 },   NamedMonth{ "dub", 4 },        NamedMonth{ "huhti", 4 },
    NamedMonth{ "kwi", 4 },       NamedMonth{ "ápr", 4 },     NamedMonth{ "апр", 4 },        NamedMonth{ "\341pr", 4 },
    NamedMonth{ "kvě", 5 },       NamedMonth{ "kv\354", 5 },  NamedMonth{ "mag", 5 },        NamedMonth{ "mai", 5 },
    NamedMonth{ "maj", 5 },       NamedMonth{ "mei", 5 },     NamedMonth{ "máj", 5 },        NamedMonth{ "m\341j", 5 },
    NamedMonth{ "touko", 5 },     NamedMonth{ "май", 5 },     NamedMonth{ "мая", 5 },        NamedMonth{ "cze", 6 },
    NamedMonth{ "giu", 6 },       NamedMonth{ "iun", 6 },     NamedMonth{ "juin", 6 },       NamedMonth{ "juni", 6 },
    NamedMonth{ "jún", 6 },       NamedMonth{ "j\372n", 6 },  NamedMonth{ "kesä", 6 },       NamedMonth{ "kes\344", 6 },
    NamedMonth{ "čen", 6 },       NamedMonth{ "июн", 6 },     NamedMonth{ "\350en", 6 },     NamedMonth{ "heinä", 7 },
    NamedMonth{ "hein\344", 7 },  NamedMonth{ "iul", 7 },     NamedMonth{ "juil", 7 },       NamedMonth{ "juli", 7 },
    NamedMonth{ "júl", 7 },       NamedMonth{ "j\372l", 7 },  NamedMonth{ "lip", 7 },        NamedMonth{ "lug", 7 },
    NamedMonth{ "čec", 7 },       NamedMonth{ "июл", 7 },     NamedMonth{ "\350ec", 7 },     NamedMonth{ "ago", 8 },
    NamedMonth{ "août", 8 },      NamedMonth{ "ao\373t", 8 }, NamedMonth{ "elo", 8 },        NamedMonth{ "sie", 8 },
    NamedMonth{ "srp", 8 },       NamedMonth{ "авг", 8 },     NamedMonth{ "sept", 9 },       NamedMonth{ "set", 9 },
    NamedMonth{ "syys", 9 },      NamedMonth{ "szept", 9 },   NamedMonth{ "wrz", 9 },        NamedMonth{ "zář", 9 },
    NamedMonth{ "z\341\370", 9 }, NamedMonth{ "сен", 9 },     NamedMonth{ "loka", 10 },      NamedMonth{ "okt", 10 },
    NamedMonth{ "ott", 10 },      NamedMonth{ "out", 10 },    NamedMonth{ "pa\274", 10 },    NamedMonth{ "paź", 10 },
    NamedMonth{ "říj", 10 },      NamedMonth{ "окт", 10 },    NamedMonth{ "\370\355j", 10 }, NamedMonth{ "lis", 11 },
    NamedMonth{ "marras", 11 },   NamedMonth{ "ноя", 11 },    NamedMonth{ "des", 12 },       NamedMonth{ "dez", 12 },
    NamedMonth{ "dic", 12 },      NamedMonth{ "déc", 12 },    NamedMonth{ "d\351c", 12 },    NamedMonth{ "gru", 12 },
    NamedMonth{ "joulu", 12 },    NamedMonth{ "pro", 12 },    NamedMonth{ "дек", 12 },
};

constexpr qsizetype longestMonth = 6;

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
    if (word.size() < 3 || word.size() > longestMonth || (word.front() >= '0' && word.front() <= '9')) {
        return 0; // Most words that stand where a month might are numbers.
    }
    if (word.size() == 3) {
        if (const int month = englishMonth(word); month != 0) {
            return month;
        }
    }
    for (const NamedMonth& named : otherMonths) {
        if (equalsIgnoringCase(word, named.name)) {
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
