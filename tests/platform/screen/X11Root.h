#pragma once

#include <QByteArray>

#include <cstdlib>
#include <xcb/xcb.h>

namespace lumivert {

/// The root window's properties, through a connection of its own, as another program sets them.
class X11Root {
public:
    X11Root()
        : m_connection(xcb_connect(nullptr, nullptr))
        , m_root(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root) {}
    ~X11Root() {
        remove("_ICC_PROFILE");
        xcb_disconnect(m_connection);
    }
    X11Root(const X11Root&) = delete;
    X11Root& operator=(const X11Root&) = delete;

    // Each is done when it returns: the server has answered.
    void set(const QByteArray& name, const QByteArray& value) {
        finish(xcb_change_property_checked(
            m_connection, XCB_PROP_MODE_REPLACE, m_root, atom(name), XCB_ATOM_CARDINAL, 8,
            static_cast<std::uint32_t>(value.size()), value.constData()));
    }
    void remove(const QByteArray& name) {
        finish(xcb_delete_property_checked(m_connection, m_root, atom(name)));
    }

private:
    void finish(xcb_void_cookie_t cookie) { std::free(xcb_request_check(m_connection, cookie)); }
    xcb_atom_t atom(const QByteArray& name) {
        auto* reply = xcb_intern_atom_reply(m_connection,
                                            xcb_intern_atom(m_connection, false,
                                                            static_cast<std::uint16_t>(name.size()),
                                                            name.constData()),
                                            nullptr);
        const xcb_atom_t result = reply->atom;
        std::free(reply);
        return result;
    }

    xcb_connection_t* m_connection;
    xcb_window_t m_root;
};

} // namespace lumivert
