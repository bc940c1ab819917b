#pragma once

#include "EngineConnections.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"

/// Streams to real servers.
struct EngineStreams {
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine };
    EngineConnections m_connections{ m_engine };
};
