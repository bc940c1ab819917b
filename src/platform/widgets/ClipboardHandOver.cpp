#include "ClipboardHandOver.h"

#include "LoopSuspension.h"
#include "XServer.h"

#include <QAbstractNativeEventFilter>
#include <QClipboard>
#include <QEventLoop>
#include <QGuiApplication>
#include <QTimer>

namespace {

constexpr char clipboardManager[] = "CLIPBOARD_MANAGER";

/// A request to the desktop's clipboard manager (the X selection CLIPBOARD_MANAGER, target SAVE_TARGETS): it asks for
/// all that is on the clipboard before it answers.
class SaveRequest final : public QAbstractNativeEventFilter {
public:
    explicit SaveRequest(xcb_connection_t* x)
        : m_x(x)
        , m_window(xcb_generate_id(x))
    {
        xcb_create_window(x, XCB_COPY_FROM_PARENT, m_window, xcb_setup_roots_iterator(xcb_get_setup(x)).data->root, 0,
                          0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_convert_selection(x, m_window, XServer::atom(x, clipboardManager), XServer::atom(x, "SAVE_TARGETS"),
                              XServer::atom(x, "QUILLBOX_SAVED"), XCB_CURRENT_TIME);
        xcb_flush(x);
        qApp->installNativeEventFilter(this);
    }
    SaveRequest(const SaveRequest&) = delete;
    SaveRequest& operator=(const SaveRequest&) = delete;
    ~SaveRequest() override
    {
        qApp->removeNativeEventFilter(this);
        xcb_destroy_window(m_x, m_window);
    }

    void wait(std::chrono::milliseconds limit)
    {
        QTimer::singleShot(limit, &m_loop, &QEventLoop::quit);
        m_loop.exec(QEventLoop::ExcludeUserInputEvents);
    }

    bool nativeEventFilter(const QByteArray& /*eventType*/, void* message, qintptr* /*result*/) override
    {
        constexpr std::uint8_t withoutOrigin = 0x7f; // The other bit says that it was sent by another program.
        const auto* const event = static_cast<const xcb_generic_event_t*>(message);
        if ((event->response_type & withoutOrigin) == XCB_SELECTION_NOTIFY
            && reinterpret_cast<const xcb_selection_notify_event_t*>(event)->requestor == m_window) {
            m_loop.quit();
            return true;
        }
        return false;
    }

private:
    xcb_connection_t* m_x;
    xcb_window_t m_window;
    QEventLoop m_loop;
};

} // namespace

void handOverClipboard(std::chrono::milliseconds limit)
{
    xcb_connection_t* const x = XServer::connection();
    if (x == nullptr || !QGuiApplication::clipboard()->ownsClipboard()
        || XServer::selectionOwner(x, clipboardManager) == XCB_WINDOW_NONE) {
        return;
    }
    const LoopSuspension suspension; // Nothing but the clipboard moves any more.
    SaveRequest(x).wait(limit);
}
