#include "FileChooser.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

std::function<QDBusConnection()>& busSource()
{
    static std::function<QDBusConnection()> source;
    return source;
}

} // namespace

FileChooser::FileChooser(QWidget& window)
    : m_window(window)
    , m_portal(busSource() ? busSource()() : QDBusConnection::sessionBus())
{
    connect(&m_portal, &FileChooserPortal::unavailable, this, &FileChooser::openHere);
    connect(&m_portal, &FileChooserPortal::filesSelected, this, &FileChooser::filesSelected);
}

void FileChooser::setBusSource(std::function<QDBusConnection()> source)
{
    busSource() = std::move(source);
}

void FileChooser::open(const Question& question)
{
    m_question = question;
    const bool isX11 = QGuiApplication::platformName() == u"xcb"_s;
    m_portal.open({ .parentWindow = isX11 ? u"x11:%1"_s.arg(m_window.winId(), 0, 16) : QString(),
                    .title = question.title,
                    .acceptLabel = question.acceptLabel,
                    .folder = question.folder,
                    .nameToSave = question.nameToSave });
}

void FileChooser::openHere()
{
    auto* const dialog = new QFileDialog(&m_window, m_question.title, m_question.folder);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (m_question.nameToSave.isEmpty()) {
        dialog->setFileMode(QFileDialog::ExistingFiles);
    } else {
        dialog->setAcceptMode(QFileDialog::AcceptSave);
        dialog->setDefaultSuffix(QFileInfo(m_question.nameToSave).suffix());
        dialog->selectFile(m_question.nameToSave);
    }
    if (!m_question.acceptLabel.isEmpty()) {
        dialog->setLabelText(QFileDialog::Accept, m_question.acceptLabel);
    }
    connect(dialog, &QFileDialog::filesSelected, this, &FileChooser::filesSelected);
    dialog->open(); // Not exec(): transfers go on.
}
