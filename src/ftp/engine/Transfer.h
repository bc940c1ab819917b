#pragma once

#include "ConnectionPool.h"
#include "DataConnection.h"
#include "FTPStream.h"
#include "FolderMaker.h"
#include "RecoveryPolicy.h"
#include "SessionSetup.h"
#include "TransferRequest.h"
#include "TransferState.h"
#include "Watchdog.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <span>

class FTPEngine;

/// One operation on a server, from the login to the server's final reply: a state machine over a control connection of
/// the pool and a data connection of its own. TransferState.h has the states and how long each may last, RecoveryPolicy
/// which trouble leads to another try, SessionSetup what comes before the operation's own command.
///
/// Everything is reported from the event loop, never from inside a call, and nothing while the gate is closed. A report
/// is always the last thing that happens in a step, since the delegate may abandon the transfer.
class Transfer final : public QObject, private ControlConnectionUser {
    Q_OBJECT

public:
    /// How far the conversation has come.
    enum class Stage {
        Connecting, ///< No connection stands.
        Connected, ///< No login has been sent.
        LoggingIn, ///< The login has been sent.
        LoggedIn, ///< It was accepted.
    };
    /// The state of the present try, and of the last one at the end.
    struct Progress {
        Stage stage = Stage::Connecting;
        bool isHostKnown = true; ///< An address was found for it, or has not been looked up.
        bool wasSilent = false; ///< It has ended for a silence that was too long.
        QString reply; ///< The server's last reply; see ControlConnection::replied(). Null for none.
        std::optional<FTPSecurity> security; ///< std::nullopt while no login has been sent.
        QHostAddress address; ///< Of the server; null while no login has been sent.
    };

    Transfer(FTPEngine& engine, TransferRequest request, std::function<void(FTPStreamEvent)> report);
    ~Transfer() override;

    void start();
    void setFetchSize(bool fetch) { m_request.fetchSize = fetch; } ///< Until the loop runs.
    /// Ends it where it stands; nothing is reported any more. Destroy it through the loop: it may be reporting.
    void abandon();

    qint64 read(std::span<char> buffer);
    qint64 write(std::span<const char> data);
    /// See FTPWriteStream::acknowledgedBytes().
    qint64 acknowledgedBytes() const;
    /// See FTPStream::isAwaitingTrust().
    bool isAwaitingTrust() const { return m_state == State::AwaitingTrust; }
    const FTPStreamError& error() const { return m_error; }
    std::optional<qint64> size() const { return m_try.size; }
    /// See FTPReadStream::shortfall().
    const QString& shortfall() const { return m_try.shortfall; }
    const Progress& progress() const { return m_progress; }

signals:
    /// progress() has come to another stage. A slot may abandon the transfer.
    void stageReached();

private:
    using Kind = TransferRequest::Kind;
    using State = TransferState;

    /// What belongs to one try; a further one begins with a new one.
    struct Try {
        ControlConnection* connection = nullptr; ///< Null: none is held.
        std::unique_ptr<SessionSetup> setup; ///< While there is a connection.
        std::unique_ptr<FolderMaker> folderMaker; ///< While the folder is made.
        bool hasReplied = false; ///< The server has answered something.
        bool isUnprotected = false; ///< Encryption does not come about.
        int preliminaryReplies = 0; ///< Since the last final one, or since data last moved.
        bool hasConsented = false; ///< The server has said that it will do it, or need not say so.
        bool hasDataConnection = false; ///< It stands, or has stood.
        bool isDataSilent = false; ///< The limit for making the data connection was over.
        bool isConfirmed = false; ///< The server has said that it was done.
        QString shortfall; ///< Of a listing: what it has said of that.
        std::optional<qint64> size; ///< Bytes of the file, as the server says.
        qint64 moved = 0; ///< Bytes written or read.
        qint64 movedBefore = 0; ///< Of a listing: at the last look at its pace.
        bool isPaced = false; ///< Of a listing: its first minute is over.
    };

    ServerTraits& traits() const;
    void enter(State state);
    void dataMoved(qint64 count);
    void reach(Stage stage);
    void begin();
    void takeConnection(ConnectionPool::Reuse reuse);
    void letGoOfConnection(bool keep);

    void replyArrived(const FTPCommand& command, const Reply& reply) override;
    void unaskedReplyArrived(const Reply& reply) override;
    void encryptionStands() override;
    void connectionLost() override;
    void handleServiceEnding(const Reply& reply);

    std::unique_ptr<SessionSetup> newSetup(bool makesFolder) const;
    void setUp();
    void handleSetupReply(const FTPCommand& command, const Reply& reply);
    bool endRefusedLogin();
    void follow(SessionSetup::Verdict verdict, const Reply& reply);
    void trustAnswered(bool isTrusted);

    void runCommand();
    void openData();
    void followFolder(FolderMaker::Verdict verdict);
    void folderMade();
    void handleCreationReply(const Reply& reply);
    void handleTransferReply(FTPVerb verb, const Reply& reply);
    bool mayBeLate(FTPVerb verb) const;
    void confirmed();
    void consented();

    void dataConnected();
    void dataReadable(DataConnection::Pending pending);
    void dataFailed();
    void dataDelivered();
    void dataEnded();
    void checkPace();

    void limitReached();
    TryFacts facts() const;
    bool recover(Trouble trouble);
    void awaitLogin();
    void finishWithoutLogin();

    void succeed(FTPStreamEvent event);
    void finishRefused(const Reply& reply, int missingLevels = 0);
    bool isUndecided() const;
    void fail();
    FTPStreamError::Stage stageOfError() const;
    void finishWith(FTPStreamError error, bool keepConnection);
    void report(FTPStreamEvent event);
    void reportWhatWaited();

    FTPEngine& m_engine;
    TransferRequest m_request;
    FTPServerKey m_key;
    std::function<void(FTPStreamEvent)> m_report;

    State m_state = State::New;
    Watchdog m_watchdog;
    Watchdog m_pace; ///< Of a listing.
    Watchdog m_loginWait; ///< From the first refusal of a further login to a login, all tries together.
    Watchdog m_shortage; ///< Runs until the system is asked again for what it has run out of.
    DataConnection m_data;
    Try m_try;
    Progress m_progress;
    QMetaObject::Connection m_established;
    QMetaObject::Connection m_replied;

    Remedies m_tried; ///< Remedies that have been used up.
    bool m_hasLeftSession = false; ///< We have dropped a session that the server may still count.
    QString m_loginRefusal; ///< The server's latest words when it allowed no further login.
    bool m_reported = false; ///< An event has been delivered.
    FTPStreamError m_error;
    std::optional<FTPStreamEvent> m_waiting; ///< An event that was due while the gate was closed.
};
