#include "Platform/DragSession.h"

#include <gtest/gtest.h>

using platform::DragDestination;
using platform::DragSession;
using Kind = platform::DragDestination::Kind;

namespace {

const DragDestination kFolder{Kind::Folder, QStringLiteral("/tmp")};
const DragDestination kTrash{Kind::Trash, {}};
const DragDestination kNone{Kind::NoneCame, {}};
const DragDestination kCanceled{Kind::Canceled, {}};
constexpr std::chrono::milliseconds kNow(0);

class Session : public testing::Test {
protected:
  platform::ManualTimers m_timers;
  QList<DragDestination> m_told;
  std::shared_ptr<DragSession> m_session =
      std::make_shared<DragSession>(m_timers, [this](const DragDestination& told) { m_told.append(told); });
};

} // namespace

TEST_F(Session, ADestinationAfterTheReleaseIsToldFromTheEventLoop) {
  m_session->released(false);
  EXPECT_TRUE(m_session->accept(kFolder));
  EXPECT_TRUE(m_told.isEmpty());
  m_timers.advance(kNow);
  EXPECT_EQ(m_told, QList{kFolder});
  EXPECT_TRUE(m_session->isOver());
}

TEST_F(Session, ADestinationBeforeTheReleaseIsToldAfterIt) {
  EXPECT_TRUE(m_session->accept(kTrash));
  m_timers.advance(std::chrono::minutes(1));
  EXPECT_TRUE(m_told.isEmpty());
  m_session->released(true);
  m_timers.advance(kNow);
  EXPECT_EQ(m_told, QList{kTrash});
}

TEST_F(Session, OnlyTheFirstDestinationIsTaken) {
  m_session->released(false);
  EXPECT_TRUE(m_session->accept(kFolder));
  EXPECT_FALSE(m_session->accept(kTrash));
  m_timers.advance(kNow);
  EXPECT_FALSE(m_session->accept(kTrash));
  m_timers.advance(std::chrono::minutes(1));
  EXPECT_EQ(m_told, QList{kFolder});
}

TEST_F(Session, NoneCameIsToldTwoSecondsAfterTheRelease) {
  m_timers.advance(std::chrono::minutes(1)); // the drag itself may take its time
  m_session->released(false);
  m_timers.advance(std::chrono::milliseconds(1999));
  EXPECT_TRUE(m_told.isEmpty());
  EXPECT_FALSE(m_session->isOver());
  m_timers.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(m_told, QList{kNone});
  EXPECT_EQ(m_timers.pending(), 0);
}

TEST_F(Session, ADestinationInTheLastMomentIsTaken) {
  m_session->released(false);
  m_timers.advance(std::chrono::milliseconds(1999));
  EXPECT_TRUE(m_session->accept(kFolder));
  m_timers.advance(std::chrono::minutes(1));
  EXPECT_EQ(m_told, QList{kFolder});
}

TEST_F(Session, ADestinationAfterNoneCameIsRefused) {
  m_session->released(false);
  m_timers.advance(DragSession::kPatience);
  EXPECT_FALSE(m_session->accept(kFolder));
  m_timers.advance(std::chrono::minutes(1));
  EXPECT_EQ(m_told, QList{kNone});
}

TEST_F(Session, AnAbandonedDragIsToldAtOnce) {
  m_session->released(true);
  EXPECT_TRUE(m_told.isEmpty());
  EXPECT_FALSE(m_session->accept(kFolder));
  m_timers.advance(kNow);
  EXPECT_EQ(m_told, QList{kCanceled});
}

TEST_F(Session, NothingIsToldAfterItIsClosed) {
  m_session->accept(kFolder);
  m_session->released(false);
  m_session->close();
  EXPECT_TRUE(m_session->isOver());
  EXPECT_FALSE(m_session->accept(kTrash));
  m_session->released(false);
  m_timers.advance(std::chrono::minutes(1));
  EXPECT_TRUE(m_told.isEmpty());
  EXPECT_EQ(m_timers.pending(), 0);
}

TEST_F(Session, MayBeClosedAndDestroyedByTheOneItIsToldTo) {
  m_session = std::make_shared<DragSession>(m_timers, [this](const DragDestination& told) {
    m_told.append(told);
    EXPECT_TRUE(m_session->isOver());
    m_session->close();
    m_session.reset();
  });
  m_session->released(false);
  m_timers.advance(DragSession::kPatience);
  EXPECT_EQ(m_told, QList{kNone});
  EXPECT_EQ(m_session, nullptr);
}
