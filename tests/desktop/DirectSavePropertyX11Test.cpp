// The property on a real X11 display: see drag-test.
#include "Platform/DirectSaveProperty.h"

#include "support/LogCapture.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string_view>

#include <xcb/xcb.h>

using platform::DirectSaveProperty;

namespace {

const QByteArray kOffered("mtpbrowser-drag\0", 16);

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
  const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, std::uint16_t(name.size()), name.data()),
                            nullptr),
      &std::free);
  return reply->atom;
}

// A window that offers a drag.
class Offer {
public:
  explicit Offer(xcb_connection_t* connection)
      : m_connection(connection)
      , m_window(xcb_generate_id(connection)) {
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_window, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_set_selection_owner(connection, m_window, atom(connection, "XdndSelection"), XCB_CURRENT_TIME);
    settle();
  }
  ~Offer() {
    xcb_destroy_window(m_connection, m_window);
    settle();
  }
  Offer(const Offer&) = delete;
  Offer& operator=(const Offer&) = delete;

  void write(const QByteArray& value, std::uint8_t format = 8) {
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, property(), XCB_ATOM_STRING, format,
                        std::uint32_t(value.size() / (format / 8)), value.constData());
    settle();
  }
  void remove() {
    xcb_delete_property(m_connection, m_window, property());
    settle();
  }
  QByteArray read() {
    const std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
        xcb_get_property_reply(m_connection,
                               xcb_get_property(m_connection, 0, m_window, property(), XCB_ATOM_ANY, 0, 100), nullptr),
        &std::free);
    m_type = reply->type;
    return {static_cast<const char*>(xcb_get_property_value(reply.get())), xcb_get_property_value_length(reply.get())};
  }
  xcb_atom_t m_type = XCB_ATOM_NONE; // of what was read last

private:
  xcb_atom_t property() const { return atom(m_connection, "XdndDirectSave0"); }
  void settle() { atom(m_connection, "WM_NAME"); } // answered after all that was sent before
  xcb_connection_t* const m_connection;
  const xcb_window_t m_window;
};

class DirectSavePropertyX11 : public testing::Test {
protected:
  xcb_connection_t* m_own = qApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
  std::unique_ptr<DirectSaveProperty> m_property = DirectSaveProperty::ofDisplay();
  testsupport::LogCapture m_log;
};

} // namespace

TEST_F(DirectSavePropertyX11, IsWrittenOnTheWindowThatOffersTheDrag) {
  Offer offer(m_own);
  m_property->offer();
  EXPECT_EQ(offer.read(), kOffered);
  EXPECT_EQ(offer.m_type, atom(m_own, "text/plain"));
  EXPECT_EQ(m_property->take(), kOffered);
}

TEST_F(DirectSavePropertyX11, WhatATargetWroteIsTakenOnce) {
  Offer offer(m_own);
  m_property->offer();
  offer.write("file:///tmp/mtpbrowser-drag");
  EXPECT_EQ(m_property->take(), "file:///tmp/mtpbrowser-drag");
  EXPECT_EQ(offer.read(), kOffered);
  EXPECT_EQ(m_property->take(), kOffered);
}

TEST_F(DirectSavePropertyX11, TheLongestPathFitsAndWhatIsLongerIsDropped) {
  Offer offer(m_own);
  m_property->offer();
  const QByteArray longest(4 * 4096, 'a');
  offer.write(longest);
  EXPECT_EQ(m_property->take(), longest);
  offer.write(longest + 'a');
  EXPECT_EQ(m_property->take(), QByteArray());
  EXPECT_EQ(offer.read(), kOffered);
}

TEST_F(DirectSavePropertyX11, NumbersAreNoText) {
  Offer offer(m_own);
  m_property->offer();
  offer.write("file:///tmp/leaf", 32);
  EXPECT_EQ(m_property->take(), QByteArray());
  offer.write("file:///tmp/leaf", 16);
  EXPECT_EQ(m_property->take(), QByteArray());
  EXPECT_EQ(offer.read(), kOffered);
}

TEST_F(DirectSavePropertyX11, IsWrittenAgainWhenATargetHasRemovedIt) {
  Offer offer(m_own);
  m_property->offer();
  offer.remove();
  EXPECT_EQ(m_property->take(), QByteArray());
  EXPECT_EQ(offer.read(), kOffered);
}

TEST_F(DirectSavePropertyX11, NothingIsTakenBeforeItWasOffered) {
  Offer offer(m_own);
  offer.write("file:///tmp/leaf");
  EXPECT_EQ(m_property->take(), QByteArray());
}

TEST_F(DirectSavePropertyX11, AnotherProgramsWindowIsLeftAlone) {
  xcb_connection_t* other = xcb_connect(nullptr, nullptr);
  ASSERT_EQ(xcb_connection_has_error(other), 0);
  {
    Offer offer(other);
    m_property->offer();
    EXPECT_EQ(offer.read(), QByteArray());
    offer.write("file:///tmp/leaf");
    EXPECT_EQ(m_property->take(), QByteArray());
  }
  xcb_disconnect(other);
  EXPECT_EQ(m_log.count(QStringLiteral("the window that offers the drag was not found")), 1);
}

TEST_F(DirectSavePropertyX11, AVanishedWindowGivesNothing) {
  {
    Offer offer(m_own);
    m_property->offer();
  }
  EXPECT_EQ(m_property->take(), QByteArray());
  m_property->offer();
  EXPECT_EQ(m_log.count(QStringLiteral("the window that offers the drag was not found")), 1);
}
