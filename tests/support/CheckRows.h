#pragma once

#include "Printers.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <ranges>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

// Tests that are tables. A failure names its row, and the rows behind it are checked all the same.
//
//     checkRows<QString(qint64)>(
//         {
//             { 0, u"Zero KB"_s },
//             { "rounded up", 999'500, u"1 MB"_s },
//         },
//         byteCountText);
//
// A row is the arguments of the function and its answer, with a name in front where these do not say enough. Where
// there is more to check than an answer, the function returns nothing and does so itself.

/// What every row has: arguments, and a name.
template <typename... Arguments> struct RowArguments {
    RowArguments(const char* name, Arguments... given)
        : arguments(std::move(given)...)
        , why(::testing::PrintToString(arguments))
    {
        if (name != nullptr) {
            why.insert(0, name + std::string(": "));
        }
    }

    std::tuple<Arguments...> arguments;
    std::string why;
};

template <typename Signature> struct CheckedRow;

// NOLINTBEGIN(google-explicit-constructor): a table does not repeat the type of its rows.
template <typename Answer, typename... Arguments>
struct CheckedRow<Answer(Arguments...)> : public RowArguments<Arguments...> {
    CheckedRow(Arguments... given, Answer answer)
        : CheckedRow(nullptr, std::move(given)..., std::move(answer))
    {
    }
    CheckedRow(const char* name, Arguments... given, Answer answer)
        : RowArguments<Arguments...>(name, std::move(given)...)
        , expected(std::move(answer))
    {
    }

    Answer expected;
};

template <typename... Arguments> struct CheckedRow<void(Arguments...)> : public RowArguments<Arguments...> {
    CheckedRow(Arguments... given)
        : RowArguments<Arguments...>(nullptr, std::move(given)...)
    {
    }
    CheckedRow(const char* name, Arguments... given)
        : RowArguments<Arguments...>(name, std::move(given)...)
    {
    }
};
// NOLINTEND(google-explicit-constructor)

/// Calls @p check with each of @p rows, which name themselves by a member `why`.
template <typename Rows, typename Check>
requires std::ranges::range<Rows>
void checkRows(const Rows& rows, Check check)
{
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        check(row);
    }
}

/// Expects two values to be equal, of which a null text and an empty one are not.
template <typename Value> void expectSame(const Value& actual, const Value& expected)
{
    EXPECT_EQ(actual, expected);
    if constexpr (requires { actual.isNull(); }) {
        EXPECT_EQ(actual.isNull(), expected.isNull());
    }
}

/// Expects @p function to answer what the rows say, as expectSame() compares it.
template <typename Signature, typename Function>
requires std::is_function_v<Signature>
void checkRows(std::initializer_list<CheckedRow<Signature>> rows, Function function)
{
    for (const CheckedRow<Signature>& row : rows) {
        SCOPED_TRACE(row.why);
        if constexpr (requires { row.expected; }) {
            expectSame<decltype(row.expected)>(std::apply(function, row.arguments), row.expected);
        } else {
            std::apply(function, row.arguments);
        }
    }
}
