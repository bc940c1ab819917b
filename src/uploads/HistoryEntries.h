#pragma once

#include "HistoryEntry.h"
#include "PathList.h"

#include <deque>
#include <initializer_list>
#include <iterator>
#include <vector>

/// Entries of a history, one for each row. A file that waits takes next to nothing but its path, which lists of waiting
/// files share; an entry is put together when somebody asks for it.
class HistoryEntries {
public:
    HistoryEntries() = default;
    HistoryEntries(std::initializer_list<HistoryEntry> entries);

    qsizetype size() const { return static_cast<qsizetype>(m_rows.size()); }
    /// @p row: from 0 to size() - 1.
    HistoryEntry operator[](qsizetype row) const;
    /// The same with a null path, for code that looks at many rows: it costs much less.
    HistoryEntry withoutPath(qsizetype row) const;
    HistoryEntry last() const { return (*this)[size() - 1]; }

    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = HistoryEntry;
        using difference_type = qsizetype;
        using pointer = const HistoryEntry*;
        using reference = HistoryEntry;

        Iterator(const HistoryEntries& entries, qsizetype row)
            : m_entries(&entries)
            , m_row(row)
        {
        }
        HistoryEntry operator*() const { return (*m_entries)[m_row]; }
        Iterator& operator++()
        {
            ++m_row;
            return *this;
        }
        bool operator==(const Iterator& other) const { return m_row == other.m_row; }

    private:
        const HistoryEntries* m_entries;
        qsizetype m_row;
    };
    Iterator begin() const { return { *this, 0 }; }
    Iterator end() const { return { *this, size() }; }

    /// Paths of @p count rows from @p first on, in a list that may go to another thread.
    PathList copiedPaths(qsizetype first, qsizetype count) const { return m_paths.copied(first, count); }

    /// Appends files that wait since @p time, to go to @p destination as far as is known.
    void append(const PathList& files, qint64 time = 0, const Destination& destination = {});
    void append(const HistoryEntry& entry);
    /// Has @p change change the entry of @p row, all but its path.
    template <typename Change> void change(qsizetype row, Change change)
    {
        HistoryEntry entry = withoutPath(row);
        change(entry);
        set(row, entry);
    }

private:
    using Outcome = HistoryEntry::Outcome;

    /// What every row has.
    struct Row {
        Outcome outcome = Outcome::Waiting;
        bool isManual = false;
        bool isQueuedAgain = false;
        bool isAwaitingTry = false;
        int recipient = -1; ///< Where it stands; -1 for none.
        int details = -1; ///< Likewise.
        qint64 time = 0;
    };
    /// Where files were to go to: the same for many.
    struct Recipient {
        QString destination;
        std::optional<QString> username;
        FTPEncryption encryption;
        friend bool operator==(const Recipient&, const Recipient&) = default;
    };
    /// What a file has that was started.
    struct Details {
        std::optional<qint64> size;
        std::optional<qint64> acknowledged;
        std::optional<qint64> durationMs;
        std::optional<qint64> listedSize;
        QString status;
        QString reply;
    };

    void set(qsizetype row, const HistoryEntry& entry);
    int recipientOf(const HistoryEntry& entry);

    PathList m_paths; ///< One for each row.
    std::vector<Row> m_rows;
    std::deque<Details> m_details;
    std::vector<Recipient> m_recipients; ///< Each once.
};
