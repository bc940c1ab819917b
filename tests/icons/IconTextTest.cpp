#include "IconText.h"

#include "CheckRows.h"

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
              u"The icon uploads into a sub-folder of its name. A “/” in the name makes levels, as in “Photos/2024”."_s },
            { u"Scans"_s, onServer },
            { u"été à la mer"_s, onServer },
            { u"Photos/2024"_s,
              u"That folder has to be on the server: “New Folder…” in Quillbox’s own window makes it, one level "
              "after the other."_s },
            { u"Quillbox 2"_s,
              u"A name that begins with “Quillbox” adds no sub-folder: this icon would upload into the same folder as "
              "Quillbox itself."_s },
            { u"Quillbox"_s, u"“Quillbox” is the name of the program itself. An icon needs another one."_s },
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
        [](const QString& name) { return IconText::explanation(name, IconSort::SubFolder); });
}

TEST(IconTextTest, OfAServerOfItsOwnANameSaysNothing)
{
    const QString given
        = u"Files that are dropped on the icon go to this server, into the folder that is given below."_s;
    checkRows<QString(QString)>(
        {
            { QString(), given },
            { u"Photos/2024"_s, given },
            { u"Quillbox 2"_s, given },
            { u"Quillbox"_s, u"“Quillbox” is the name of the program itself. An icon needs another one."_s },
            { u".."_s, u"“.” and “..” are no names of folders."_s },
            { QString(232, u'x'), u"This name is too long for a file."_s },
        },
        [](const QString& name) { return IconText::explanation(name, IconSort::OwnServer); });
}

TEST(IconTextTest, WhereAnIconIsToBeFoundIsSaid)
{
    EXPECT_EQ(IconText::made(false), u"It is in the applications menu and in those of Thunar and Dolphin."_s);
    EXPECT_EQ(IconText::made(true),
              u"It is on the desktop, in the applications menu and in those of Thunar and Dolphin."_s);
}

TEST(IconTextTest, EveryFailureIsTold)
{
    EXPECT_EQ(IconText::failure(Outcome::Made, true), QString());
    EXPECT_EQ(IconText::failure(Outcome::NameNotPossible, false), u"There can be no icon of that name."_s);
    EXPECT_EQ(IconText::failure(Outcome::AlreadyThere, true), u"There is an icon of that name already."_s);
    EXPECT_EQ(IconText::failure(Outcome::AlreadyThere, false),
              u"Another file is where one of the icon’s files would be. Nothing has been changed."_s);
    EXPECT_EQ(IconText::failure(Outcome::NotWritable, false),
              u"The icon’s files could not be read or written. Nothing has been changed."_s);
    EXPECT_EQ(IconText::failure(Outcome::Gone, false),
              u"Somebody else has removed the icon, renamed it, or changed whether it has a server of its own."_s);
}

TEST(IconTextTest, TheQuestionBeforeARemovalSaysWhatGoesAndWhatGoesOn)
{
    const DropIcons::Icon inSubFolder{ .name = u"a"_s };
    const DropIcons::Icon withServer{ .name = u"a"_s, .sort = IconSort::OwnServer };
    const QString question = u"Are you sure you want to remove the drop icon “a” from this computer?"_s;
    const QString stays = u"\n\nThe files that it has uploaded stay on the server."_s;

    EXPECT_EQ(IconText::removalQuestion(inSubFolder, false), question + stays);
    EXPECT_EQ(IconText::removalQuestion(inSubFolder, true),
              question + stays + u" It is running: its window goes on until it is closed."_s);
    EXPECT_EQ(IconText::removalQuestion(withServer, false),
              question + u" Its settings, with the login, are removed too."_s + stays);
    EXPECT_EQ(IconText::removalQuestion(withServer, true),
              question + u" Its settings, with the login, are removed too."_s + stays
                  + u" It is running: its window uploads nothing more from then on."_s);
    const QString unknown = stays + u" Without a session bus nobody knows whether it is running; if so, its window "_s;
    EXPECT_EQ(IconText::removalQuestion(inSubFolder, std::nullopt),
              question + unknown + u"goes on until it is closed."_s);
    EXPECT_EQ(IconText::removalQuestion(withServer, std::nullopt),
              question + u" Its settings, with the login, are removed too."_s + unknown
                  + u"uploads nothing more from then on."_s);
}

TEST(IconTextTest, WhatMustNotChangeWhileAnIconRunsIsSaidAndThatNobodyKnowsWhetherItDoes)
{
    EXPECT_EQ(IconText::running(u"a"_s, false), QString());
    EXPECT_EQ(IconText::running(u"a"_s, true),
              u"“a” is running: its name, and whether it has a server of its own, can be changed when its window is "
              "closed. Another picture shows there when it is started again."_s);
    EXPECT_EQ(IconText::running(u"a"_s, std::nullopt),
              u"Without a session bus nobody knows whether “a” is running. Close its window before you change its name "
              "or picture, or whether it has a server of its own."_s);
}

TEST(IconTextTest, OfSettingsThatAreALinkTheLinkAloneIsSaidToBeRemoved)
{
    const DropIcons::Icon linked{ .name = u"a"_s, .sort = IconSort::OwnServer, .areSettingsLinked = true };

    EXPECT_EQ(
        IconText::removalQuestion(linked, false),
        u"Are you sure you want to remove the drop icon “a” from this computer? Its settings are a link, which is "
        "removed too; the file that it leads to stays, with the login.\n\nThe files that it has uploaded stay on "
        "the server."_s);
    EXPECT_EQ(
        IconText::settingsLost(linked),
        u"The icon’s own settings are a link, which is removed; the file that it leads to stays, with the login."_s);
}

TEST(IconTextTest, NamesInSentencesAreShownAndNotObeyed)
{
    const QString name = u"a%1\u202Eb"_s;
    const QString shown = u"“a%1⟨U+202E⟩b”"_s;

    EXPECT_TRUE(IconText::removalQuestion({ .name = name }, false).contains(shown));
    EXPECT_TRUE(IconText::running(name, true).startsWith(shown));
    EXPECT_TRUE(IconText::running(name, std::nullopt).contains(shown));
    EXPECT_TRUE(IconText::notRemoved(name).startsWith(shown));
    EXPECT_TRUE(IconText::notStarted(name).startsWith(shown));
}

} // namespace
