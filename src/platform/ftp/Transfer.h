#pragma once

#include "CertificateTrust.h"
#include "ConnectionPool.h"
#include "DataConnection.h"
#include "FTPEncryption.h"
#include "FTPEngine.h"
#include "FTPLocation.h"
#include "FTPStream.h"
#include "Watchdog.h"

#include <QList>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <span>

/// One operation on a server, from the login to the server's last word: a state machine over a control connection of
/// the pool and a data connection of its own. It is the only place that judges replies, and it owns the watchdog.
///
/// Everything is reported from the event loop, never from inside a call, and nothing while the gate is closed. A report
/// is always the last thing that happens in a step, since whoever hears it may abandon the transfer.
class Transfer final : public QObject, private ControlConnectionUser {
    Q_OBJECT

public:
    /// A probe ends with success where a listing would have its folder open, and takes leave.
    enum class Kind { Listing, Download, Upload, FolderCreation, Probe };

    struct Request {
        Kind kind = Kind::Listing;
        std::optional<FTPLocation> location; ///< Nothing: the text was none, which fails from the loop.
        QByteArray userName; ///< Empty: anonymous.
        QByteArray password;
        qint64 length = 0; ///< Of an upload: how many bytes will be written.
        bool fetchSize = false; ///< Of a download: ask for the size first.
        FTPEncryption encryption = FTPEncryption::None;
        QList<QByteArray> trustedCertificates; ///< Fingerprints that need not be judged.
        CertificateTrust* certificateTrust = nullptr; ///< Judges other certificates that are not good; null: refused.
    };

    /// How far the conversation has come.
    enum class Stage {
        Connecting, ///< No connection stands.
        Connected, ///< No login has been sent.
        LoggingIn, ///< The login has been sent.
        LoggedIn, ///< It was accepted.
    };
    /// What is known of the present try, and of the last one at the end.
    struct Progress {
        Stage stage = Stage::Connecting;
        bool wasSilent = false; ///< It has ended for a silence that was too long.
        QString reply; ///< What the server has said last; see ControlConnection::replied(). Null for nothing.
        std::optional<FTPSecurity> security; ///< Nothing while no login has been sent.
    };

    Transfer(FTPEngine& engine, Request request, std::function<void(FTPStreamEvent)> report);
    ~Transfer() override;

    void start();
    void setFetchSize(bool fetch) { m_request.fetchSize = fetch; } ///< Until the loop runs.
    /// Ends it where it stands; nothing is reported any more. Destroy it through the loop: it may be reporting.
    void abandon();

    qint64 read(std::span<char> buffer);
    qint64 write(std::span<const char> data);
    const FTPStreamError& error() const { return m_error; }
    std::optional<qint64> size() const { return m_size; }
    const Progress& progress() const { return m_progress; }
    /// Whether the request is one that can be put into commands. Otherwise it fails from the loop.
    bool canBeRequested() const;

signals:
    /// progress() has come to another stage. Whoever hears it may abandon the transfer.
    void stageReached();

private:
    enum class State {
        New, ///< Not started, or the start is on its way through the loop.
        Connecting, ///< The control connection is being made.
        Securing, ///< Greeting and handshake; nothing else has been said.
        AwaitingTrust, ///< Somebody is asked about the server's certificate. The connection may be lost meanwhile.
        Preparing, ///< Greeting, login, folder, type, size and port are being settled.
        Opening, ///< The transfer command is out; the data connection is being made, or the server's consent awaited.
        Moving, ///< Data moves.
        Confirming, ///< All data has moved; the server has the last word.
        AwaitingReason, ///< The data connection broke; the server may say why.
        AwaitingLogin, ///< The server allows no further login; one of ours will become free.
        Finished, ///< Done, failed or abandoned.
    };

    void begin();
    bool isAboutFolder() const;
    bool movesData() const;
    void reach(Stage stage);
    void takeConnection(ConnectionPool::Reuse reuse);
    void greeted();
    void authAnswered(const Reply& reply);
    void trustAnswered(bool isTrusted);
    void secured();
    void prepare();
    QList<FTPCommand> loginCommands() const;
    FTPCommand passiveCommand() const;
    void sendPlanned();
    void prepared();
    void openData();

    void replyArrived(const FTPCommand& command, const Reply& reply) override;
    void unaskedReplyArrived(const Reply& reply) override;
    void encryptionStands() override;
    void connectionLost() override;
    void judgeSetUp(const FTPCommand& command, const Reply& reply);
    void judgeUser(const Reply& reply);
    void judgePass(const Reply& reply);
    void judgePassive(FTPVerb verb, const Reply& reply);
    void judgeTransfer(const Reply& reply);
    void judgeCreation(const Reply& reply);
    void serviceEnds(const Reply& reply);

    void dataConnected();
    void dataReadable(DataConnection::Pending pending);
    void dataWritable();
    void dataFailed();
    void accepted();
    void dataEnded();

    void silence();
    bool retryOnFreshConnection();
    bool retryInTurn();
    bool retryWithPasv();
    void retry();
    void letGoOfConnection(bool keep);

    void succeed(FTPStreamEvent event);
    void refuse(const Reply& reply);
    void finishRefused(const Reply& reply);
    void fail();
    void finishWith(FTPStreamError error, bool keepConnection);
    void report(FTPStreamEvent event);
    void reportWhatWaited();

    FTPEngine& m_engine;
    ConnectionPool& m_pool;
    Request m_request;
    std::function<void(FTPStreamEvent)> m_report;
    FTPServerKey m_key;
    QByteArray m_folder; ///< Of the item, or the listed one.
    QByteArray m_name; ///< Of the item.

    State m_state = State::New;
    ControlConnection* m_connection = nullptr;
    QMetaObject::Connection m_established;
    QMetaObject::Connection m_replied;
    DataConnection m_data;
    Watchdog m_watchdog;
    QList<FTPCommand> m_plan; ///< Commands of the set-up that have not been sent yet.

    // Of the present try.
    Progress m_progress;
    bool m_replySeen = false;
    int m_preliminaries = 0; ///< Preliminary replies since the last final one, or since data last moved.
    bool m_userAccepted = false; ///< No password is wanted; what is said to it does not matter.
    bool m_extendedPassive = false; ///< The port came from EPSV.
    quint16 m_port = 0;
    bool m_dataStands = false;
    bool m_accepted = false; ///< 125 or 150 has come, or is not to be expected.
    bool m_dataWaitsForAcceptance = false;
    bool m_confirmed = false; ///< 226 or 250 has come.

    bool m_triedFresh = false;
    bool m_triedInTurn = false;
    bool m_triedAfterTrust = false;
    bool m_triedPasv = false;
    bool m_reported = false; ///< An event has been delivered, so that no further try is invisible.

    qint64 m_moved = 0; ///< Bytes written or read.
    std::optional<qint64> m_size;
    FTPStreamError m_error;
    std::optional<FTPStreamEvent> m_waiting; ///< An event that became due while the gate was closed.
};
