#include "Platform/DistributedNotifications.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>

namespace platform {
namespace {

const QString kInterface = QStringLiteral("org.mtpbrowser.Notifications");
const QString kSignal = QStringLiteral("Posted");
const QString kPath = QStringLiteral("/org/mtpbrowser/Notifications");
constexpr int kMaxEntries = 64;
constexpr qsizetype kMaxText = 65'536;
constexpr int kMaxComplaints = 10; // another program may send such signals without end

// A value of the kinds that are let in; an invalid variant for every other one.
QVariant acceptedValue(const QVariant& value) {
  switch (value.typeId()) {
  case QMetaType::Bool:
  case QMetaType::UChar:
  case QMetaType::Short:
  case QMetaType::UShort:
  case QMetaType::Int:
  case QMetaType::UInt:
  case QMetaType::LongLong:
  case QMetaType::ULongLong:
  case QMetaType::Double:
    return value;
  case QMetaType::QString:
    return value.toString().size() <= kMaxText ? value : QVariant();
  case QMetaType::QStringList: {
    qsizetype length = 0;
    for (const QString& text : value.toStringList())
      length += text.size() + 1;
    return length <= kMaxText ? value : QVariant();
  }
  default:
    return {}; // containers inside containers, object paths, signatures, descriptors: nobody here sends them
  }
}

QVariantMap acceptedInfo(const QDBusArgument& argument) {
  QVariantMap info;
  int left = kMaxEntries;
  argument.beginMap();
  while (!argument.atEnd() && left-- > 0) {
    QString key;
    QDBusVariant value;
    argument.beginMapEntry();
    argument >> key >> value;
    argument.endMapEntry();
    if (const QVariant accepted = acceptedValue(value.variant()); accepted.isValid() && key.size() <= kMaxText)
      info.insert(key, accepted);
  }
  argument.endMap(); // also with entries left: the reader is released here
  return info;
}

} // namespace

// Hears every Posted signal of the bus and hands the well-formed ones to the observers.
class DistributedNotificationReceiver : public QObject {
  Q_OBJECT

public:
  DistributedNotificationReceiver(QDBusConnection bus, NotificationCenter& observers)
      : m_bus(std::move(bus))
      , m_observers(observers) {
    if (!m_bus.isConnected())
      MTPB_LOG("no session bus, notifications of other programs are not received: %s",
               qUtf8Printable(m_bus.lastError().message()));
    else if (!m_bus.connect(QString(), QString(), kInterface, kSignal, this, SLOT(onPosted(QDBusMessage))))
      MTPB_LOG("the session bus takes no subscription: %s", qUtf8Printable(m_bus.lastError().message()));
  }
  ~DistributedNotificationReceiver() override {
    m_bus.disconnect(QString(), QString(), kInterface, kSignal, this, SLOT(onPosted(QDBusMessage)));
  }

private Q_SLOTS:
  void onPosted(const QDBusMessage& message) {
    if (message.signature() != u"sa{sv}") {
      if (m_complaints < kMaxComplaints)
        MTPB_LOG("a signal with the arguments \"%s\" is no notification%s", qUtf8Printable(message.signature()),
                 ++m_complaints == kMaxComplaints ? "; more of them are passed over without a word" : "");
      return;
    }
    const QVariantList arguments = message.arguments();
    const QString name = arguments.value(0).toString();
    m_observers.post(name, acceptedInfo(arguments.value(1).value<QDBusArgument>()));
  }

private:
  QDBusConnection m_bus;
  NotificationCenter& m_observers;
  int m_complaints = 0;
};

DistributedNotificationCenter& DistributedNotificationCenter::defaultCenter() {
  static DistributedNotificationCenter center(QDBusConnection::sessionBus());
  return center;
}

DistributedNotificationCenter::DistributedNotificationCenter(const QDBusConnection& bus)
    : m_bus(bus)
    , m_local(std::make_unique<NotificationCenter>()) {
  assertMainThread();
  m_receiver = std::make_unique<DistributedNotificationReceiver>(m_bus, *m_local);
}

DistributedNotificationCenter::~DistributedNotificationCenter() = default;

std::unique_ptr<NotificationObservation> DistributedNotificationCenter::observe(const QString& name,
                                                                                NotificationCenter::Handler handler) {
  assertMainThread();
  return m_local->observe(name, std::move(handler));
}

bool DistributedNotificationCenter::post(const QString& name, const QVariantMap& userInfo) {
  QDBusMessage signal = QDBusMessage::createSignal(kPath, kInterface, kSignal);
  signal << name << userInfo;
  return m_bus.isConnected() && m_bus.send(signal);
}

} // namespace platform

#include "DistributedNotifications.moc"
