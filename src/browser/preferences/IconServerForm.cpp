#include "IconServerForm.h"

#include "ServerExtras.h"
#include "ServerForm.h"

#include <QLineEdit>
#include <QVBoxLayout>

IconServerForm::IconServerForm(const ServerAccess& access, QWidget* parent)
    : QWidget(parent)
    , m_server(new ServerForm(this))
    , m_extras(new ServerExtras(this))
{
    m_server->setAccess(access);
    m_extras->setAccess(access, *m_server);
    m_server->setFieldWidth(m_server->preferredFieldWidth());
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(m_server);
    layout->addWidget(m_extras);
    // By these it has a place in the Tab order, with all that is in it.
    setFocusProxy(m_server->fields().address);
    setFocusPolicy(Qt::TabFocus);
}

void IconServerForm::fill(const UserDefaults& settings)
{
    m_extras->fill(settings);
    m_server->fill(settings);
}

QHash<QString, QJsonValue> IconServerForm::changes(const UserDefaults& settings) const
{
    QHash<QString, QJsonValue> values = m_server->changes(settings);
    values.insert(m_extras->changes());
    return values;
}

QString IconServerForm::destination() const
{
    return m_server->destination();
}
