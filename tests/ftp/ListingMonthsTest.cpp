#include "ListingMonths.h"

#include "CheckRows.h"

#include <QByteArray>

#include <gtest/gtest.h>

namespace {

/// The months of one language as ls abbreviates them, in the code that its servers send.
struct Language {
    const char* why;
    const char* months; ///< Twelve words with blanks between.
};

constexpr Language languages[] = {
    { "English", "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec" },
    { "French", "janv. févr. mars avril mai juin juil. août sept. oct. nov. déc." },
    { "French, Latin-1", "janv. f\351vr. mars avril mai juin juil. ao\373t sept. oct. nov. d\351c." },
    { "French, shorter", "jan fév mar avr mai juin juil août sep oct nov déc" },
    { "French, shorter, Latin-1", "jan f\351v mar avr mai juin juil ao\373t sep oct nov d\351c" },
    { "German", "Jan Feb Mär Apr Mai Jun Jul Aug Sep Okt Nov Dez" },
    { "German, Latin-1", "Jan Feb M\344r Apr Mai Jun Jul Aug Sep Okt Nov Dez" },
    { "German, long March", "Jan Feb März Apr Mai Juni Juli Aug Sept Okt Nov Dez" },
    { "German, long March, Latin-1", "Jan Feb M\344rz Apr Mai Juni Juli Aug Sept Okt Nov Dez" },
    { "German without accents", "Jan Feb Mrz Apr Mai Jun Jul Aug Sep Okt Nov Dez" },
    { "Austrian", "Jän Feb Mär Apr Mai Jun Jul Aug Sep Okt Nov Dez" },
    { "Austrian, Latin-1", "J\344n Feb M\344r Apr Mai Jun Jul Aug Sep Okt Nov Dez" },
    { "Italian", "gen feb mar apr mag giu lug ago set ott nov dic" },
    { "Spanish", "ene feb mar abr may jun jul ago sep oct nov dic" },
    { "Portuguese", "jan fev mar abr mai jun jul ago set out nov dez" },
    { "Dutch", "jan feb mrt apr mei jun jul aug sep okt nov dec" },
    { "Swedish and Danish", "jan feb mar apr maj jun jul aug sep okt nov dec" },
    { "Norwegian", "jan. feb. mars april mai juni juli aug. sep. okt. nov. des." },
    { "Polish", "sty lut mar kwi maj cze lip sie wrz paź lis gru" },
    { "Polish, Latin-2", "sty lut mar kwi maj cze lip sie wrz pa\274 lis gru" },
    { "Czech", "led úno bře dub kvě čen čec srp zář říj lis pro" },
    { "Czech, Latin-2", "led \372no b\370e dub kv\354 \350en \350ec srp z\341\370 \370\355j lis pro" },
    { "Romanian", "ian feb mar apr mai iun iul aug sep oct nov dec" },
    { "Hungarian", "jan febr márc ápr máj jún júl aug szept okt nov dec" },
    { "Hungarian, Latin-2", "jan febr m\341rc \341pr m\341j j\372n j\372l aug szept okt nov dec" },
    { "Finnish", "tammi helmi maalis huhti touko kesä heinä elo syys loka marras joulu" },
    { "Finnish, Latin-1", "tammi helmi maalis huhti touko kes\344 hein\344 elo syys loka marras joulu" },
    { "Russian", "янв фев мар апр мая июн июл авг сен окт ноя дек" },
    { "Russian, May by itself", "янв фев мар апр май июн июл авг сен окт ноя дек" },
};

TEST(ListingMonthsTest, KnowsEveryMonthOfEveryLanguage)
{
    checkRows(languages, [](const Language& language) {
        const QList<QByteArray> months = QByteArray(language.months).split(' ');
        ASSERT_EQ(months.size(), 12);
        for (int month = 1; month <= 12; ++month) {
            const QByteArray& word = months.at(month - 1);
            SCOPED_TRACE(word.toStdString());

            EXPECT_EQ(listingMonth(word), month);
            EXPECT_EQ(listingMonth(word.toUpper()), month);
            EXPECT_EQ(listingMonth(word.endsWith('.') ? word.chopped(1) : word + '.'), month);
        }
    });
}

TEST(ListingMonthsTest, OtherWordsAreNoMonths)
{
    for (const char* word : { "", ".", "Ja", "Jan..", "January", "Foo", "total", "root", "\344", "12", "maalisk" }) {
        EXPECT_EQ(listingMonth(word), 0) << word;
    }
}

TEST(ListingMonthsTest, KnowsEveryWeekday)
{
    for (const char* word : { "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "SUN", "sat" }) {
        EXPECT_TRUE(isListingWeekday(word)) << word;
    }
    for (const char* word : { "", "Fr", "Friday", "Fri.", "Jan" }) {
        EXPECT_FALSE(isListingWeekday(word)) << word;
    }
}

} // namespace
