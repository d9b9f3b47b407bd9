#include "Platform/DirectSaveProperty.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"

#include <QGuiApplication>

#include <cstdlib>
#include <string_view>

#include <xcb/xcb.h>

namespace platform {
namespace {

constexpr std::uint32_t kMaxWords = 4096; // of 4 bytes: the longest path with every byte written as %XX fits

template <typename Reply> using Owned = std::unique_ptr<Reply, decltype([](Reply* reply) { std::free(reply); })>;

class X11DirectSaveProperty : public DirectSaveProperty {
public:
  explicit X11DirectSaveProperty(xcb_connection_t* connection)
      : m_connection(connection)
      , m_selection(atom("XdndSelection"))
      , m_property(atom("XdndDirectSave0"))
      , m_text(atom("text/plain")) {}

  void offer() override {
    assertMainThread();
    m_window = XCB_NONE;
    const Owned<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, m_selection), nullptr));
    // The drag may be over already, and somebody else's running.
    if (!owner || !isOwnWindow(owner->owner)) {
      MTPB_LOG("the window that offers the drag was not found");
      return;
    }
    m_window = owner->owner;
    writeLeaf();
  }

  QByteArray take() override {
    assertMainThread();
    if (m_window == XCB_NONE)
      return {};
    const Owned<xcb_get_property_reply_t> property(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, m_window, m_property, XCB_GET_PROPERTY_TYPE_ANY, 0, kMaxWords),
        nullptr));
    if (!property)
      return {};
    QByteArray value;
    if (property->format == 8 && property->bytes_after == 0)
      value = QByteArray(static_cast<const char*>(xcb_get_property_value(property.get())),
                         xcb_get_property_value_length(property.get()));
    if (value != leaf())
      writeLeaf();
    return value;
  }

private:
  static QByteArray leaf() { return QByteArray(kLeaf, sizeof(kLeaf)); } // with its NUL: targets read a C string

  xcb_atom_t atom(std::string_view name) const {
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, std::uint16_t(name.size()), name.data()), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
  }

  bool isOwnWindow(xcb_window_t window) const {
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    return window != XCB_NONE && setup != nullptr && (window & ~setup->resource_id_mask) == setup->resource_id_base;
  }

  void writeLeaf() {
    const QByteArray name = leaf();
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, m_property, m_text, 8,
                        std::uint32_t(name.size()), name.constData());
    xcb_flush(m_connection);
  }

  xcb_connection_t* const m_connection; // Qt's
  const xcb_atom_t m_selection;
  const xcb_atom_t m_property;
  const xcb_atom_t m_text;
  xcb_window_t m_window = XCB_NONE; // Qt's; the same for all drags, lives as long as the connection
};

} // namespace

std::unique_ptr<DirectSaveProperty> DirectSaveProperty::ofDisplay() {
  assertMainThread();
  const auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
  if (x11 == nullptr || x11->connection() == nullptr)
    return nullptr;
  return std::make_unique<X11DirectSaveProperty>(x11->connection());
}

} // namespace platform
