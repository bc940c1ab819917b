// Alerts, questions, and texts that several roles share.

#include "ByteCountText.h"
#include "NumberText.h"
#include "SheetQueue.h"
#include "TextPrompt.h"
#include "ViewController.h"

#include <QLocale>

using namespace Qt::StringLiterals;

void ViewController::showAlert(const QString& title, const QString& text)
{
    if (m_window.isVisible()) {
        SheetQueue::of(m_window).raise({ .title = title, .text = text });
    }
}

bool ViewController::alertSendingOrReceiving()
{
    // Kept: the title speaks of downloads for every action that asks.
    if (m_pc->isSending()) {
        showAlert(u"Cannot Download"_s, u"Wait for the current upload to complete."_s);
        return true;
    }
    if (m_gc->isReceiving()) {
        showAlert(u"Cannot Download"_s, u"Wait for the current download to complete."_s);
        return true;
    }
    return false;
}

QString ViewController::quitWarning() const
{
    QStringList sentences;
    if (m_pc->isSending()) {
        sentences.append(u"A file is being uploaded, and what has arrived of it would not be whole."_s);
    }
    if (m_gc->isReceiving()) {
        sentences.append(u"A file is being downloaded, and what has come of it would not be whole."_s);
    }
    if (const qsizetype waiting = m_fileUploadQueue.size(); waiting == 1) {
        sentences.append(u"One file is waiting, and would not be uploaded."_s);
    } else if (waiting > 1) {
        sentences.append(u"%1 files are waiting, and would not be uploaded."_s.arg(QLocale().toString(waiting)));
    }
    return sentences.isEmpty() ? QString() : sentences.join(u"\n\n"_s);
}

QString ViewController::askInput(const QString& prompt, const QString& defaultText)
{
    return promptForText(&m_window, prompt, defaultText);
}

QString ViewController::stringForFileSize(quint64 bytes)
{
    return byteCountText(static_cast<qint64>(bytes));
}

QString ViewController::stringForNumberAsUnits(double value, const QString& unit)
{
    return numberText(value, unit);
}
