#include "Platform/DragOut.h"

#include "support/LogCapture.h"
#include "support/PrivateBus.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDrag>
#include <QMimeData>
#include <QTest>

#include <gtest/gtest.h>

using platform::DragDestination;
using platform::DragOut;
using platform::DragSession;
using testsupport::PrivateBus;
using Kind = platform::DragDestination::Kind;

namespace {

constexpr int kLimit = 10'000; // ms
const QString kDirectSave = QStringLiteral("XdndDirectSave0");
const QString kService = QStringLiteral("application/x-kde-ark-dndextract-service");
const QString kPath = QStringLiteral("application/x-kde-ark-dndextract-path");

// What the property of the window holds, seen from the display.
struct Property {
  QByteArray value;
  int offers = 0;
};

class FakeDirectSave : public platform::DirectSaveProperty {
public:
  explicit FakeDirectSave(Property& property)
      : m_property(property) {}
  void offer() override {
    m_property.value = kLeaf;
    ++m_property.offers;
  }
  QByteArray take() override { return std::exchange(m_property.value, QByteArray(kLeaf)); }

private:
  Property& m_property;
};

// Offscreen a drag ends as soon as it has begun, nothing having taken it: then comes what a target asks.
class Drags : public testing::Test {
protected:
  void SetUp() override {
    m_own.emplace(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("own")));
    m_target.emplace(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("target")));
    ASSERT_TRUE(m_own->isConnected() && m_target->isConnected());
    m_dragOut = std::make_unique<DragOut>(m_timers, *m_own, std::make_unique<FakeDirectSave>(m_property));
  }
  void TearDown() override {
    m_dragOut.reset();
    m_source.reset();
    m_own.reset();
    m_target.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("own"));
    QDBusConnection::disconnectFromBus(QStringLiteral("target"));
  }

  // Starts a drag and returns its data, kept as on X11, where a target may ask long after the drop.
  const QMimeData* start() {
    m_dragOut->start(*m_source, QPixmap(10, 10), QPoint(5, 5),
                     [this](const DragDestination& told) { m_told.append(told); });
    return keptData();
  }
  const QMimeData* keptData() {
    QDrag* drag = m_source->findChildren<QDrag*>().last();
    QCoreApplication::removePostedEvents(drag, QEvent::DeferredDelete);
    return drag->mimeData();
  }
  void passTime(std::chrono::milliseconds time = std::chrono::milliseconds(0)) { m_timers.advance(time); }

  // Calls the drag's D-Bus object as a file manager does, by the two types it was offered.
  QDBusMessage extractTo(const QMimeData* data, const QVariantList& arguments) {
    return extractTo(data->data(kService), data->data(kPath), arguments);
  }
  QDBusMessage extractTo(const QByteArray& service, const QByteArray& path, const QVariantList& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromLatin1(service), QString::fromLatin1(path),
                                                       QStringLiteral("org.kde.ark.DndExtract"),
                                                       QStringLiteral("extractSelectedFilesTo"));
    call.setArguments(arguments);
    QDBusPendingCall reply = m_target->asyncCall(call);
    EXPECT_TRUE(QTest::qWaitFor([&] { return reply.isFinished(); }, kLimit));
    return reply.reply();
  }

  PrivateBus m_bus;
  std::optional<QDBusConnection> m_own;
  std::optional<QDBusConnection> m_target;
  platform::ManualTimers m_timers;
  Property m_property;
  std::unique_ptr<DragOut> m_dragOut;
  std::unique_ptr<QWidget> m_source = std::make_unique<QWidget>();
  QList<DragDestination> m_told;
  testsupport::LogCapture m_log;
};

} // namespace

TEST_F(Drags, OfferBothProtocolsAndNothingElse) {
  const QMimeData* data = start();
  EXPECT_EQ(data->formats(), QStringList({kDirectSave, kService, kPath}));
  EXPECT_FALSE(data->hasUrls());
  EXPECT_FALSE(data->hasText());
  EXPECT_FALSE(data->hasFormat(QStringLiteral("application/octet-stream")));
  EXPECT_EQ(data->data(kService), m_own->baseService().toLatin1());
  EXPECT_TRUE(data->data(kPath).startsWith("/org/mtpbrowser/DragOut/"));
  EXPECT_TRUE(data->data(QStringLiteral("text/uri-list")).isEmpty());
}

TEST_F(Drags, OfferOnlyToCopy) {
  start();
  EXPECT_EQ(m_source->findChild<QDrag*>()->supportedActions(), Qt::CopyAction);
}

TEST_F(Drags, CarryThePictureGiven) {
  start();
  EXPECT_EQ(m_source->findChild<QDrag*>()->pixmap().size(), QSize(10, 10));
  EXPECT_EQ(m_source->findChild<QDrag*>()->hotSpot(), QPoint(5, 5));
}

TEST_F(Drags, WithoutX11OfferOnlyTheExtractProtocol) {
  m_dragOut = std::make_unique<DragOut>(m_timers, *m_own, nullptr);
  const QMimeData* data = start();
  EXPECT_EQ(data->formats(), QStringList({kService, kPath}));
  EXPECT_FALSE(data->hasFormat(kDirectSave));
  EXPECT_TRUE(data->data(kDirectSave).isEmpty());
  QCoreApplication::processEvents();
  EXPECT_EQ(m_property.offers, 0);
}

TEST_F(Drags, WithoutASessionBusOfferOnlyDirectSave) {
  m_dragOut = std::make_unique<DragOut>(m_timers, QDBusConnection(QStringLiteral("nowhere")),
                                        std::make_unique<FakeDirectSave>(m_property));
  const QMimeData* data = start();
  EXPECT_EQ(data->formats(), QStringList({kDirectSave}));
  EXPECT_TRUE(data->data(kPath).isEmpty());
}

TEST_F(Drags, WriteTheNameAnewForEveryDrag) {
  start();
  QCoreApplication::processEvents();
  EXPECT_EQ(m_property.offers, 1);
  EXPECT_EQ(m_property.value, "mtpbrowser-drag");
  m_property.value.clear();
  start();
  QCoreApplication::processEvents();
  EXPECT_EQ(m_property.offers, 2);
}

TEST_F(Drags, ADirectSaveTellsItsFolder) {
  const QMimeData* data = start();
  m_property.value = "file:///srv/some%20folder/mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "S");
  EXPECT_TRUE(m_told.isEmpty()); // nothing happens while the target waits
  passTime();
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::Folder, QStringLiteral("/srv/some folder")})});
}

TEST_F(Drags, ADirectSaveToTheTrashTellsTheTrash) {
  const QMimeData* data = start();
  m_property.value = "trash:///mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "S");
  passTime();
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::Trash, {}})});
}

TEST_F(Drags, ATargetThatOnlyLooksAtTheNameIsNoDestination) {
  const QMimeData* data = start();
  QCoreApplication::processEvents();
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(data->data(kDirectSave), "E");
  m_property.value = "file:///srv/mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "S");
  passTime();
  EXPECT_EQ(m_told.size(), 1);
}

TEST_F(Drags, ARefusedDirectSaveLeavesTheDragOpenForAnother) {
  const QMimeData* data = start();
  m_property.value = "sftp://server/srv/mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "E");
  EXPECT_EQ(m_log.count(QStringLiteral("a drop was refused: \"sftp://(hidden)\"")), 1);
  m_property.value = "file:///srv/mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "S");
  passTime();
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::Folder, QStringLiteral("/srv")})});
}

TEST_F(Drags, WhatWasWrittenForOneDropIsNotFoundByTheNext) {
  const QMimeData* first = start();
  m_property.value = "file:///srv/mtpbrowser-drag";
  EXPECT_EQ(first->data(kDirectSave), "S");
  const QMimeData* second = start();
  EXPECT_EQ(second->data(kDirectSave), "E");
}

TEST_F(Drags, AnExtractTellsItsFolder) {
  const QMimeData* data = start();
  const QDBusMessage answer = extractTo(data, {QStringLiteral("/srv/사진 100%")});
  EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << qPrintable(answer.errorMessage());
  EXPECT_TRUE(m_told.isEmpty()); // answered before anything begins
  passTime();
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::Folder, QStringLiteral("/srv/사진 100%")})});
}

TEST_F(Drags, AnExtractToTheTrashTellsTheTrash) {
  const QMimeData* data = start();
  EXPECT_EQ(extractTo(data, {QStringLiteral("trash:/")}).type(), QDBusMessage::ReplyMessage);
  passTime();
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::Trash, {}})});
}

TEST_F(Drags, ARefusedExtractIsAnsweredWithAnError) {
  const QMimeData* data = start();
  for (const QVariantList& arguments : {QVariantList{QStringLiteral("smb://server/share")}, QVariantList{QString()},
                                        QVariantList{7}, QVariantList{}, QVariantList{QStringLiteral("/tmp"), 1}})
    EXPECT_EQ(extractTo(data, arguments).type(), QDBusMessage::ErrorMessage) << arguments.size();
  passTime();
  EXPECT_TRUE(m_told.isEmpty());
  passTime(DragSession::kPatience);
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::NoneCame, {}})});
}

TEST_F(Drags, TheDestinationOfTheFirstProtocolCounts) {
  const QMimeData* data = start();
  m_property.value = "file:///srv/mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "S");
  EXPECT_EQ(extractTo(data, {QStringLiteral("/tmp")}).type(), QDBusMessage::ErrorMessage);
  m_property.value = "file:///usr/mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "E");
  passTime(DragSession::kPatience);
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::Folder, QStringLiteral("/srv")})});
}

TEST_F(Drags, WithoutADestinationTellSoAfterTwoSeconds) {
  const QMimeData* data = start();
  passTime(std::chrono::milliseconds(1999));
  EXPECT_TRUE(m_told.isEmpty());
  passTime(std::chrono::milliseconds(1));
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::NoneCame, {}})});
  m_property.value = "file:///srv/mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "E");
  EXPECT_EQ(extractTo(data, {QStringLiteral("/tmp")}).type(), QDBusMessage::ErrorMessage);
  passTime(DragSession::kPatience);
  EXPECT_EQ(m_told.size(), 1);
}

TEST_F(Drags, EachIsToldOfItsOwnDestination) {
  QStringList told;
  const auto startNamed = [&](const QString& name) {
    m_dragOut->start(*m_source, {}, {}, [&told, name](const DragDestination& d) { told << name + d.folder; });
    return keptData();
  };
  const QMimeData* first = startNamed(QStringLiteral("first "));
  const QMimeData* second = startNamed(QStringLiteral("second "));
  EXPECT_NE(first->data(kPath), second->data(kPath));
  EXPECT_EQ(extractTo(second, {QStringLiteral("/two")}).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(extractTo(first, {QStringLiteral("/one")}).type(), QDBusMessage::ReplyMessage);
  passTime();
  EXPECT_EQ(told, QStringList({QStringLiteral("second /two"), QStringLiteral("first /one")}));
}

TEST_F(Drags, TheObjectOfAFinishedDragIsGoneWithTheNextOne) {
  const QMimeData* first = start();
  passTime(DragSession::kPatience);
  start();
  const QDBusMessage answer = extractTo(first, {QStringLiteral("/tmp")});
  EXPECT_EQ(answer.errorName(), QStringLiteral("org.freedesktop.DBus.Error.UnknownObject"));
  EXPECT_EQ(m_told.size(), 1);
}

TEST_F(Drags, ATargetThatAsksAfterTheWindowWasClosedIsRefused) {
  const QMimeData* data = start();
  m_dragOut.reset();
  m_property.value = "file:///srv/mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "E");
  EXPECT_EQ(extractTo(data, {QStringLiteral("/tmp")}).type(), QDBusMessage::ErrorMessage);
  passTime(std::chrono::minutes(1));
  EXPECT_TRUE(m_told.isEmpty());
}

TEST_F(Drags, NothingIsToldWhenTheWindowWasClosedBetweenTheDropAndTheTelling) {
  const QMimeData* data = start();
  m_property.value = "file:///srv/mtpbrowser-drag";
  EXPECT_EQ(data->data(kDirectSave), "S");
  m_dragOut.reset();
  passTime(std::chrono::minutes(1));
  EXPECT_TRUE(m_told.isEmpty());
}

TEST_F(Drags, MayBeEndedForGoodByTheOneWhoIsTold) {
  m_dragOut->start(*m_source, {}, {}, [this](const DragDestination& told) {
    m_told.append(told);
    m_dragOut.reset();
  });
  passTime(DragSession::kPatience);
  EXPECT_EQ(m_told.size(), 1);
  EXPECT_EQ(m_dragOut, nullptr);
}

TEST_F(Drags, TheNextOneMayBeStartedByTheOneWhoIsTold) {
  m_dragOut->start(*m_source, {}, {}, [this](const DragDestination&) { start(); });
  passTime(DragSession::kPatience);
  passTime(DragSession::kPatience);
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::NoneCame, {}})});
}

TEST_F(Drags, OwnDragsAreToldFromOthers) {
  const QMimeData* own = start();
  QMimeData other;
  other.setUrls({QUrl(QStringLiteral("file:///tmp/a"))});
  EXPECT_TRUE(DragOut::isOwnDrag(own));
  EXPECT_FALSE(DragOut::isOwnDrag(&other));
  EXPECT_FALSE(DragOut::isOwnDrag(nullptr));
}

TEST_F(Drags, ADropOnATrashCanOfThisProgramTellsTheTrash) {
  const QMimeData* own = start();
  EXPECT_TRUE(DragOut::dropOnTrash(own));
  EXPECT_FALSE(DragOut::dropOnTrash(own));
  passTime();
  EXPECT_EQ(m_told, QList{(DragDestination{Kind::Trash, {}})});
  const QMimeData other;
  EXPECT_FALSE(DragOut::dropOnTrash(&other));
}
