#pragma once

#include "FakeFTPStream.h"
#include "Printers.h"
#include "WindowFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

/// Streams whose every event a test delivers.
struct FakeStreams {
    FakeStreamFactory m_streams;
    FakeConnections m_connections;
};

/// The window's controller with fake streams.
class FakeWindowTest : public ::testing::Test, protected FakeStreams, protected WindowFixture {
protected:
    explicit FakeWindowTest(const Settings& settings = { { QStringLiteral("Address"), QStringLiteral("host") } },
                            const QString& programName = QStringLiteral("Quillbox"))
        : WindowFixture(m_streams, m_connections, settings, programName)
    {
    }

    /// The latest stream of one kind, which must be there.
    FakeFTPStream& latest(FakeFTPStream::Kind kind)
    {
        FakeFTPStream* found = nullptr;
        for (const auto& stream : m_streams.streams()) {
            if (stream->kind == kind) {
                found = stream.get();
            }
        }
        EXPECT_NE(found, nullptr);
        return *found;
    }
    FakeFTPStream& upload() { return latest(FakeFTPStream::Kind::Upload); }
    qsizetype count(FakeFTPStream::Kind kind) const
    {
        return std::count_if(m_streams.streams().begin(), m_streams.streams().end(),
                             [kind](const auto& stream) { return stream->kind == kind; });
    }

    /// Lets the running upload of a short file succeed.
    void finishUpload()
    {
        FakeFTPStream& stream = upload();
        stream.sendOpenCompleted();
        while (stream.isOpen()) {
            stream.sendHasSpace();
        }
    }
};
