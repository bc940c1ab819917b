#include "ConnectionTestControls.h"

#include "ConnectionTestText.h"
#include "DrawnIcons.h"
#include "FocusKeeping.h"
#include "IconLabel.h"
#include "VisibleText.h"

#include <QPushButton>

using namespace Qt::StringLiterals;

ConnectionTestControls::ConnectionTestControls(const Widgets& widgets, Start start)
    : m_widgets(widgets)
    , m_start(std::move(start))
{
    connect(&widgets.testButton, &QPushButton::clicked, this, &ConnectionTestControls::startOrStop);
    connect(&widgets.createFolderButton, &QPushButton::clicked, this, [this] { this->start(true); });
    clear();
}

ConnectionTestControls::~ConnectionTestControls() = default;

void ConnectionTestControls::startOrStop()
{
    if (m_test == nullptr) {
        start(false);
    } else {
        clear();
        m_widgets.resultLabel.setText(u"The test was stopped."_s);
    }
}

void ConnectionTestControls::start(bool createsFolder)
{
    clear();
    m_test = m_start(createsFolder, [this](const FTPConnectionTestReport& report) { show(report); });
    if (m_test != nullptr) {
        m_widgets.testButton.setText(u"Stop &Test"_s);
        show({});
    }
}

void ConnectionTestControls::show(const FTPConnectionTestReport& report)
{
    const bool hasEnded = isEnd(report.state);
    const bool works = report.state == FTPConnectionTestState::Works;
    m_widgets.resultLabel.setText(connectionTestText(report));
    const QString reason = connectionTestReason(report);
    m_widgets.replyLabel.setText(reason.isEmpty() ? QString() : u"The server said: %1"_s.arg(visibleText(reason)));
    if (hasEnded) {
        m_widgets.outcomeIcon.setIcon(works ? drawnTickIcon() : drawnCrossIcon());
        m_widgets.outcomeIcon.setAccessibleName(works ? u"It works"_s : u"It does not work"_s);
        m_widgets.createFolderButton.setVisible(report.state == FTPConnectionTestState::FolderRefused);
        end();
    }
    emit reported();
}

void ConnectionTestControls::end()
{
    m_test.reset();
    m_widgets.testButton.setText(u"&Test Connection"_s);
}

void ConnectionTestControls::clear()
{
    end();
    m_widgets.outcomeIcon.setIcon({});
    m_widgets.outcomeIcon.setAccessibleName({});
    m_widgets.resultLabel.clear();
    m_widgets.replyLabel.clear();
    setVisibleKeepingFocus(m_widgets.createFolderButton, false, m_widgets.testButton);
}
