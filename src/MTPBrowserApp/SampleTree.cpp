#include "MTPBrowserApp/SampleTree.h"

#include "Platform/Log.h"

#include <QBuffer>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRandomGenerator>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

// Writes one tree; remembers whether anything failed.
class TreeWriter {
public:
  explicit TreeWriter(QString root)
      : m_root(std::move(root)) {}

  bool good() const { return m_good; }

  void folder(const QString& path) { m_good = QDir(m_root).mkpath(path) && m_good; }

  void file(const QString& path, const QByteArray& bytes, const QDateTime& modified) {
    const QString full = m_root + u'/' + path;
    m_good = QDir().mkpath(full.left(full.lastIndexOf(u'/'))) && m_good;
    QFile file(full);
    m_good = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush() && m_good;
    m_good = file.setFileTime(modified, QFileDevice::FileModificationTime) && m_good;
  }

private:
  QString m_root;
  bool m_good = true;
};

// A landscape of its own for every seed: sky, sun or moon, three ranges of hills.
QByteArray photo(quint32 seed, const QSize& size = {480, 360}) {
  QRandomGenerator random(seed);
  QImage image(size, QImage::Format_RGB32);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  const double w = size.width(), h = size.height();
  const int hour = int(random.bounded(24U));
  const bool night = hour < 6 || hour > 20;
  const int hue = night ? 235 : (hour > 16 ? 25 : 205);
  QLinearGradient sky(0, 0, 0, h);
  sky.setColorAt(0, QColor::fromHsv(hue, night ? 160 : 120, night ? 60 : 235));
  sky.setColorAt(1, QColor::fromHsv((hue + 20) % 360, 60, night ? 110 : 250));
  painter.fillRect(image.rect(), sky);
  painter.setPen(Qt::NoPen);
  painter.setBrush(night ? QColor(245, 245, 225) : QColor(255, 236, 160));
  const double sun = w * (0.05 + 0.04 * random.generateDouble());
  painter.drawEllipse(QPointF(w * random.generateDouble(), h * (0.12 + 0.3 * random.generateDouble())), sun, sun);
  const int ground = int(random.bounded(360U));
  for (int range = 0; range < 3; ++range) {
    const double base = h * (0.5 + 0.16 * range), swing = h * (0.16 - 0.03 * range);
    const double phase = random.generateDouble() * 6.28, pace = 1.2 + random.generateDouble() * 2.5;
    QPainterPath hill(QPointF(0, h));
    for (double x = 0; x <= w; x += 6)
      hill.lineTo(
          x, base - swing * (0.6 * std::sin(phase + pace * 6.28 * x / w) + 0.4 * std::sin(2.3 * phase + 11 * x / w)));
    hill.lineTo(w, h);
    painter.setBrush(QColor::fromHsv((ground + 25 * range) % 360, 90 + 30 * range, (night ? 110 : 200) - 40 * range));
    painter.drawPath(hill);
  }
  painter.end();
  QByteArray bytes;
  QBuffer buffer(&bytes);
  image.save(&buffer, "JPG", 78);
  return bytes;
}

// A short melody as a WAV file (RIFF, PCM, one channel of 16 bits).
QByteArray tune(quint32 seed) {
  constexpr int rate = 8000, notes = 12, perNote = rate / 6;
  constexpr std::array<int, 8> scale{0, 2, 4, 5, 7, 9, 11, 12};
  QRandomGenerator random(seed);
  QByteArray samples;
  samples.reserve(notes * perNote * 2);
  for (int note = 0; note < notes; ++note) {
    const double pitch = 220.0 * std::pow(2.0, scale[random.bounded(8U)] / 12.0);
    for (int i = 0; i < perNote; ++i) {
      const double fade = 1.0 - double(i) / perNote;
      const qint16 sample = qToLittleEndian(qint16(9000 * fade * std::sin(2 * std::numbers::pi * pitch * i / rate)));
      samples.append(reinterpret_cast<const char*>(&sample), 2);
    }
  }
  const auto number = [](quint32 value, int bytes) {
    const quint32 little = qToLittleEndian(value);
    return QByteArray(reinterpret_cast<const char*>(&little), bytes);
  };
  return "RIFF" + number(quint32(36 + samples.size()), 4) + "WAVEfmt " + number(16, 4) + number(1, 2) + number(1, 2) +
         number(rate, 4) + number(rate * 2, 4) + number(2, 2) + number(16, 2) + "data" +
         number(quint32(samples.size()), 4) + samples;
}

QByteArray prose(const QString& title, int paragraphs) {
  QString text = title + QStringLiteral("\n\n");
  for (int i = 0; i < paragraphs; ++i)
    text += QStringLiteral("This text came with the phone that lives inside the program. It is here so that there is "
                           "something to look at, to copy and to throw away while no other phone is attached.\n\n");
  return text.toUtf8();
}

QDateTime moment(int year, int month, int day, quint32 seed) {
  return QDateTime(QDate(year, month, day), QTime(int(seed * 7 % 24), int(seed * 13 % 60), int(seed * 29 % 60)));
}

bool writePhone(const QString& root) {
  TreeWriter tree(root);
  quint32 seed = 1;
  const auto next = [&seed] { return ++seed; };
  for (const char* name :
       {"Alarms", "Android/data", "Android/media", "Audiobooks", "Notifications", "Podcasts", "Recordings"})
    tree.folder(QLatin1String(name));
  for (int i = 0; i < 48; ++i, ++seed) {
    const QDateTime taken = moment(2021 + i / 12, 1 + i % 12, 1 + i * 5 % 28, seed);
    tree.file(QStringLiteral("DCIM/Camera/IMG_%1.jpg").arg(taken.toString(QStringLiteral("yyyyMMdd_HHmmss"))),
              photo(seed), taken);
  }
  for (int i = 0; i < 8; ++i, ++seed)
    tree.file(QStringLiteral("DCIM/Screenshots/Screenshot %1.jpg").arg(i + 1), photo(seed, {270, 480}),
              moment(2024, 1 + i, 3, seed));
  const std::array<QString, 8> trips{QStringLiteral("Köln im Frühling"),
                                     QStringLiteral("Москва"),
                                     QStringLiteral("東京の夜"),
                                     QStringLiteral("서울 나들이"),
                                     QStringLiteral("القاهرة"),
                                     QStringLiteral("ירושלים"),
                                     QStringLiteral("São Paulo & Île de Ré"),
                                     QStringLiteral("Holiday 🏝️ 2023")};
  for (int trip = 0; trip < int(trips.size()); ++trip)
    for (int i = 0; i < 3; ++i, ++seed)
      tree.file(QStringLiteral("Pictures/Trips/%1/%2.jpg").arg(trips[size_t(trip)]).arg(i + 1, 3, 10, QLatin1Char('0')),
                photo(seed), moment(2017 + trip, 2 + trip, 10 + i, seed));
  const std::array<const char*, 3> albums{"Field Recordings/Morning", "Field Recordings/Evening",
                                          "The Sine Waves/First Light"};
  for (const char* album : albums)
    for (int i = 0; i < 4; ++i, ++seed)
      tree.file(QStringLiteral("Music/%1/%2 Track.wav").arg(QLatin1String(album)).arg(i + 1, 2, 10, QLatin1Char('0')),
                tune(seed), moment(2019, 6 + i, 12, seed));
  tree.file(QStringLiteral("Ringtones/Morning dew.wav"), tune(next()), moment(2020, 3, 9, seed));
  tree.file(QStringLiteral("Documents/Read me first.txt"), prose(QStringLiteral("Read me first"), 2),
            moment(2024, 9, 1, next()));
  tree.file(QStringLiteral("Documents/Recipes/Grandmother's bread.md"), prose(QStringLiteral("# Bread"), 5),
            moment(2018, 11, 23, next()));
  tree.file(QStringLiteral("Documents/Рецепты.txt"), prose(QStringLiteral("Рецепты"), 1), moment(2022, 2, 14, next()));
  tree.file(QStringLiteral("Documents/家計簿 2024.csv"), "month,rent,food\n1,820,310\n2,820,295\n3,820,342\n",
            moment(2024, 4, 1, next()));
  tree.file(QStringLiteral("Documents/Contracts/2023/Flat/Lease (signed).txt"), prose(QStringLiteral("Lease"), 12),
            moment(2023, 5, 31, next()));
  tree.file(QStringLiteral("Download/map-of-the-city.jpg"), photo(next(), {800, 600}), moment(2024, 8, 17, seed));
  tree.file(QStringLiteral("Download/.partial"), {}, moment(2024, 8, 17, next()));
  tree.file(QStringLiteral("Movies/An empty reel.mp4"), {}, moment(2020, 12, 24, next()));
  return tree.good();
}

bool writeCard(const QString& root) {
  TreeWriter tree(root);
  quint32 seed = 1000;
  for (int i = 0; i < 16; ++i, ++seed)
    tree.file(QStringLiteral("DCIM/100PHOTO/PICT%1.JPG").arg(i + 1, 4, 10, QLatin1Char('0')), photo(seed),
              moment(2016, 7, 1 + i, seed));
  for (int i = 0; i < 4; ++i, ++seed)
    tree.file(QStringLiteral("Music/Mixtape/%1.wav").arg(QChar(u'A' + i)), tune(seed), moment(2015, 10, 2 + i, seed));
  tree.file(QStringLiteral("Backup/notes.txt"), prose(QStringLiteral("Notes"), 40), moment(2021, 1, 1, seed));
  return tree.good();
}

} // namespace

SampleTree ensureSampleTree(const QString& folder) {
  const SampleTree tree{folder + QStringLiteral("/Phone"), folder + QStringLiteral("/Card")};
  const auto ensure = [&folder](const QString& path, bool (*write)(const QString&)) {
    if (QDir(path).exists())
      return true;
    const QString beside = path + QStringLiteral(".new");
    QDir(beside).removeRecursively();
    return QDir().mkpath(folder) && write(beside) && QDir().rename(beside, path);
  };
  if (ensure(tree.phoneFolder, writePhone) && ensure(tree.cardFolder, writeCard))
    return tree;
  MTPB_LOG("the embedded phone's files cannot be written below %s", qUtf8Printable(folder));
  return {};
}
