#pragma once

#include <QObject>
#include <QStringList>
#include <QUrl>

/// Stands in, while it lives, for the desktop's service that opens locations of one scheme.
class OpenedUrls final : public QObject {
    Q_OBJECT

public:
    explicit OpenedUrls(const QString& scheme);
    OpenedUrls(const OpenedUrls&) = delete;
    OpenedUrls& operator=(const OpenedUrls&) = delete;
    ~OpenedUrls() override;

    const QList<QUrl>& urls() const { return m_urls; }
    /// Of those that are files.
    QStringList localPaths() const;

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    void open(const QUrl& url) { m_urls.append(url); }

private:
    QString m_scheme;
    QList<QUrl> m_urls;
};
