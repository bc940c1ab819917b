#pragma once

#include "FTPStream.h"

/// Makes streams that speak to real servers, on the connections of the calling thread.
class EngineStreamFactory final : public FTPStreamFactory {
public:
    std::unique_ptr<FTPReadStream> createListingStream(const QString& location) override;
    std::unique_ptr<FTPReadStream> createDownloadStream(const QString& location) override;
    std::unique_ptr<FTPWriteStream> createUploadStream(const QString& location, qint64 length) override;
    std::unique_ptr<FTPWriteStream> createFolderStream(const QString& location) override;
    QString lastReply() const override;
    QString lastUploadReply() const override;
    void closeIdleConnections(const QString& location) override;
};
