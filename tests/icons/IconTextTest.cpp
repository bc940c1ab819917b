#include "IconText.h"

#include "CheckRows.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Outcome = DropIcons::Outcome;

namespace {

TEST(IconTextTest, EveryKindOfNameIsExplained)
{
    const QString noBeginning
        = u"A “/” stands between two names: not at the beginning, not at the end, and not beside another one."_s;
    const QString onServer = u"That folder has to be on the server: “New Folder…” in Quillbox’s own window makes it."_s;
    checkRows<QString(QString)>(
        {
            { QString(),
              u"A copy uploads into a sub-folder of its name. A “/” in the name makes levels, as in “Photos/2024”."_s },
            { u"Scans"_s, onServer },
            { u"été à la mer"_s, onServer },
            { u"Photos/2024"_s,
              u"That folder has to be on the server: “New Folder…” in Quillbox’s own window makes it, one level "
              "after the other."_s },
            { u"Quillbox 2"_s,
              u"A name that begins with “Quillbox” adds no sub-folder: this copy would upload into the same folder as "
              "Quillbox itself."_s },
            { u"Quillbox"_s, u"“Quillbox” is the name of the program itself. A copy needs another one."_s },
            { u"a:b"_s, u"A name cannot hold “:”. A “/” makes levels, as in “Photos/2024”."_s },
            { u".."_s, u"“.” and “..” are no names of folders."_s },
            { u"a/./b"_s, u"“.” and “..” are no names of folders."_s },
            { u"/a"_s, noBeginning },
            { u"a/"_s, noBeginning },
            { u"a//b"_s, noBeginning },
            { u"  "_s, u"A name cannot be made of blanks alone."_s },
            { u"a/ "_s, u"A name cannot be made of blanks alone."_s },
            { u"a\tb"_s, u"A name cannot hold invisible characters."_s },
            { QString(248, u'x'), u"This name is too long for a file."_s },
        },
        IconText::explanation);
}

TEST(IconTextTest, EveryOutcomeIsTold)
{
    EXPECT_EQ(IconText::outcome(Outcome::Made, false, true),
              u"The copy is in the applications menu. Files can be dropped on it."_s);
    EXPECT_EQ(IconText::outcome(Outcome::Made, true, true),
              u"The copy is in the applications menu and on the desktop. Files can be dropped on it."_s);
    EXPECT_EQ(IconText::outcome(Outcome::NameNotPossible, false, false), u"There can be no copy of that name."_s);
    EXPECT_EQ(IconText::outcome(Outcome::AlreadyThere, false, true), u"There is a copy of that name already."_s);
    EXPECT_EQ(IconText::outcome(Outcome::AlreadyThere, false, false),
              u"Another file is where one of the copy’s files would be. Nothing has been changed."_s);
    EXPECT_EQ(IconText::outcome(Outcome::NotWritable, false, false),
              u"The copy could not be made, as its files could not be written. Nothing of it is left."_s);
}

TEST(IconTextTest, NamesInSentencesAreShownAndNotObeyed)
{
    const QString name = u"a%1\u202Eb"_s;
    const QString shown = u"“a%1⟨U+202E⟩b”"_s;

    EXPECT_TRUE(IconText::removalQuestion(name).contains(shown));
    EXPECT_TRUE(IconText::notRemoved(name).startsWith(shown));
    EXPECT_TRUE(IconText::notStarted(name).startsWith(shown));
}

TEST(IconTextTest, LocationsInTheHomeFolderAreWrittenWithATilde)
{
    EXPECT_EQ(IconText::location(QDir::homePath() + u"/a/b"_s), u"~/a/b"_s);
    EXPECT_EQ(IconText::location(QDir::homePath() + u"2/a"_s), QDir::homePath() + u"2/a"_s);
    EXPECT_EQ(IconText::location(u"/srv/a"_s), u"/srv/a"_s);
}

} // namespace
