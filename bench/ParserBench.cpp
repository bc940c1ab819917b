// The parts that see every byte or every item, alone: Google Benchmark.

#include "ListEntries.h"
#include "ListingParser.h"
#include "ReplyParser.h"
#include "TableColumns.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int manyItems = 100'000;

/// In no order that sorting would like.
int shuffled(int number)
{
    return static_cast<int>(static_cast<qint64>(number) * 7919 % manyItems);
}

enum class Order { None, ByName };

QByteArray listing(Order order = Order::None)
{
    QByteArray text;
    for (int number = 0; number < manyItems; ++number) {
        const int other = order == Order::None ? shuffled(number) : number;
        text += QString::asprintf("-rw-r--r--    1 1000     1000     %10d %s %2d %02d:%02d file %06d report.txt\r\n",
                                  other * 13, other % 2 == 0 ? "Jan" : "Oct", other % 28 + 1, other % 24, other % 60,
                                  other)
                    .toUtf8();
    }
    return text;
}

QList<ListingEntry> parsed(QByteArrayView text)
{
    const QDateTime now = QDateTime::currentDateTime();
    QList<ListingEntry> entries;
    qsizetype offset = 0;
    while (true) {
        ParsedListing line = parseListingLine(text.sliced(offset), now);
        if (line.consumed <= 0) {
            return entries;
        }
        offset += static_cast<qsizetype>(line.consumed);
        if (line.entry) {
            entries.append(*std::move(line.entry));
        }
    }
}

void parseListing(benchmark::State& state)
{
    const QByteArray text = listing();
    const QDateTime now = QDateTime::currentDateTime();
    for (auto _ : state) {
        qsizetype offset = 0;
        while (offset < text.size()) {
            const ParsedListing line = parseListingLine(QByteArrayView(text).sliced(offset), now);
            offset += static_cast<qsizetype>(line.consumed);
            benchmark::DoNotOptimize(line);
        }
    }
    state.SetBytesProcessed(state.iterations() * text.size());
    state.SetItemsProcessed(state.iterations() * manyItems);
}
BENCHMARK(parseListing)->Unit(benchmark::kMillisecond);

void sortByColumn(benchmark::State& state)
{
    ListEntries entries;
    entries.append(parsed(listing()));
    entries.mergeAppended();
    const QString& column = TableColumns::all[state.range(0)];
    state.SetLabel(column.toStdString());
    bool ascending = false;
    for (auto _ : state) {
        entries.sort({ { .key = column, .ascending = ascending } });
        ascending = !ascending;
    }
}
BENCHMARK(sortByColumn)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);

void takeInBlocks(benchmark::State& state)
{
    constexpr qsizetype blockItems = 400; // About what 32 KiB hold.
    const auto order = static_cast<Order>(state.range(0));
    state.SetLabel(order == Order::None ? "in no order" : "by name");
    const QList<ListingEntry> all = parsed(listing(order));
    for (auto _ : state) {
        ListEntries entries;
        for (qsizetype first = 0; first < all.size(); first += blockItems) {
            entries.append(all.mid(first, blockItems));
            entries.mergeAppended();
        }
        benchmark::DoNotOptimize(entries);
    }
}
BENCHMARK(takeInBlocks)->DenseRange(0, 1)->Unit(benchmark::kMillisecond);

void parseReplies(benchmark::State& state)
{
    QByteArray text;
    for (int number = 0; number < 1000; ++number) {
        text += "229 Entering Extended Passive Mode (|||40123|)\r\n150 Ok to send data.\r\n226-Transfer complete.\r\n"
                " 1000 bytes\r\n226 Done.\r\n";
    }
    for (auto _ : state) {
        ReplyParser parser;
        parser.append(text);
        while (const auto reply = parser.next()) {
            benchmark::DoNotOptimize(reply);
        }
    }
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(parseReplies)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
