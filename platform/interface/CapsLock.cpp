// SPDX-License-Identifier: MIT
#include "platform/interface/CapsLock.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QtGui/qguiapplication_platform.h>
#include <cstdlib>
#include <xcb/xcb.h>

namespace {

/// The second of X's modifiers is Lock, and so it is in the keymaps that Wayland took over.
constexpr quint32 lock = XCB_MOD_MASK_LOCK;

bool latestKeyHadLock = false;

} // namespace

void zr::noteCapsLock(const QEvent &event) {
    if (event.type() == QEvent::KeyPress || event.type() == QEvent::KeyRelease)
        latestKeyHadLock = static_cast<const QKeyEvent &>(event).nativeModifiers() & lock;
}

bool zr::capsLockIsOn() {
    const auto *const x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11 || !x11->connection())
        return latestKeyHadLock;
    xcb_connection_t *const connection = x11->connection();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const std::unique_ptr<xcb_query_pointer_reply_t, decltype(&std::free)> reply(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, root), nullptr), &std::free);
    return reply && (reply->mask & lock);
}
