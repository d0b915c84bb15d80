#include "platform/screen/DesktopScreenColors.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>
#include <QScreen>

#include <cstdlib>
#include <xcb/xcb.h>

namespace lumivert {
namespace {

template <class Reply>
struct FreeReply {
    void operator()(Reply* reply) const { std::free(reply); }
};
template <class Reply>
using Owned = std::unique_ptr<Reply, FreeReply<Reply>>;

class X11ScreenColors : public DesktopScreenColors, public QAbstractNativeEventFilter {
public:
    explicit X11ScreenColors(xcb_connection_t* connection)
        : m_connection(connection)
        , m_root(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root) {
        // Qt has asked the server to tell of the root's properties.
        qGuiApp->installNativeEventFilter(this);
        for (const auto signal : {&QGuiApplication::screenAdded, &QGuiApplication::screenRemoved,
                                  &QGuiApplication::primaryScreenChanged})
            QObject::connect(qGuiApp, signal, &m_receiver, [this] { profilesChanged(); });
    }
    ~X11ScreenColors() override {
        if (qGuiApp)
            qGuiApp->removeNativeEventFilter(this);
    }

    QByteArray profileOf(const QString& screen) override {
        const QList<QScreen*> screens = QGuiApplication::screens();
        for (int i = 0; i < screens.size(); ++i)
            if (screens[i]->name() == screen)
                return property(i == 0 ? base : base + '_' + QByteArray::number(i));
        return {};
    }

    bool nativeEventFilter(const QByteArray&, void* message, qintptr*) override {
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
            return false;
        const auto* notify = static_cast<const xcb_property_notify_event_t*>(message);
        if (notify->window == m_root && nameOf(notify->atom).startsWith(base))
            profilesChanged();
        return false;
    }

private:
    static inline const QByteArray base = "_ICC_PROFILE";

    QByteArray nameOf(xcb_atom_t atom) const {
        const Owned<xcb_get_atom_name_reply_t> reply(
            xcb_get_atom_name_reply(m_connection, xcb_get_atom_name(m_connection, atom), nullptr));
        return reply ? QByteArray(xcb_get_atom_name_name(reply.get()),
                                  xcb_get_atom_name_name_length(reply.get()))
                     : QByteArray();
    }

    QByteArray property(const QByteArray& name) const {
        const Owned<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
            m_connection,
            xcb_intern_atom(m_connection, true, static_cast<std::uint16_t>(name.size()),
                            name.constData()),
            nullptr));
        if (!atom || atom->atom == XCB_ATOM_NONE)
            return {};
        constexpr std::uint32_t mostWords = 16 << 20; // 64 MB
        const Owned<xcb_get_property_reply_t> reply(
            xcb_get_property_reply(m_connection,
                                   xcb_get_property(m_connection, false, m_root, atom->atom,
                                                    XCB_GET_PROPERTY_TYPE_ANY, 0, mostWords),
                                   nullptr));
        if (!reply || reply->format != 8)
            return {};
        return {static_cast<const char*>(xcb_get_property_value(reply.get())),
                xcb_get_property_value_length(reply.get())};
    }

    QObject m_receiver;
    xcb_connection_t* m_connection;
    xcb_window_t m_root;
};

} // namespace

std::unique_ptr<DesktopScreenColors> x11ScreenColors() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return nullptr;
    return std::make_unique<X11ScreenColors>(x11->connection());
}

} // namespace lumivert
