#pragma once

#include "Reply.h"

#include <QByteArrayView>
#include <QString>

// What a server says of a listing that is not the whole one, although it confirms it: a folder that it may not read, or
// has more items than it lists, is no empty or small one.

/// The first line of @p reply, which confirms a listing, that says that it is not whole, for people; null: none does.
///
/// Replies are free text. Words that may mean something else count, too, such as those in the name of a folder: who
/// takes a whole listing for less asks once too often, who takes less for a whole one replaces files unasked.
QString shortfallIn(const Reply& reply);

/// Whether @p line of a listing, which names no item, is a complaint of the program that makes the listing, or about
/// the folder that it lists: some servers send what is written about errors along with what is listed.
bool isListingComplaint(QByteArrayView line);
