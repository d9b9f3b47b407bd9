#include "SBrowser/SItemArray.h"

#include "SBrowser/LocalDays.h"

#include <QLocale>

#include <unicode/ucol.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

namespace {

using Order = std::vector<std::uint32_t>;
using Items = std::vector<SItemArray::Pointer>;

/// Sorts the places by `before`, for two places; descending turns the order round but keeps equal items as they are.
template <typename Before> void sortOrder(Order& order, bool ascending, const Before& before) {
  if (ascending)
    std::stable_sort(order.begin(), order.end(), before);
  else
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) { return before(b, a); });
}

struct CollatorDeleter {
  void operator()(UCollator* collator) const { ucol_close(collator); }
};

std::unique_ptr<UCollator, CollatorDeleter> nameCollator() {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<UCollator, CollatorDeleter> collator(ucol_open(QLocale().name().toLatin1().constData(), &status));
  if (U_FAILURE(status))
    return nullptr;
  ucol_setAttribute(collator.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
  ucol_setStrength(collator.get(), UCOL_SECONDARY); // letter case does not count
  return collator;
}

/// The collation keys of all names, one after the other in one block: comparing keys is a memcmp, and 100,000 texts of
/// their own would cost more than the sorting.
class NameKeys {
public:
  explicit NameKeys(const Items& items) {
    const auto collator = nameCollator();
    m_start.reserve(items.size() + 1);
    m_bytes.reserve(items.size() * 32);
    for (const SItemArray::Pointer& item : items) {
      m_start.push_back(m_bytes.size());
      append(collator.get(), item->fileName());
    }
    m_start.push_back(m_bytes.size());
  }

  bool less(std::uint32_t a, std::uint32_t b) const {
    const std::size_t sizeA = m_start[a + 1] - m_start[a];
    const std::size_t sizeB = m_start[b + 1] - m_start[b];
    const std::size_t common = std::min(sizeA, sizeB);
    const int result = common == 0 ? 0 : std::memcmp(&m_bytes[m_start[a]], &m_bytes[m_start[b]], common);
    return result < 0 || (result == 0 && sizeA < sizeB);
  }

private:
  void append(const UCollator* collator, const QString& name) {
    constexpr qsizetype longest = 1024; // what differs only beyond this is not worth the memory of its key
    const QStringView text = QStringView(name).first(std::min(name.size(), longest));
    if (collator == nullptr) {
      const QByteArray folded = text.toString().toCaseFolded().toUtf8();
      m_bytes.insert(m_bytes.end(), folded.begin(), folded.end());
      return;
    }
    std::array<std::uint8_t, 256> key;
    const auto length = static_cast<std::int32_t>(text.size());
    const std::int32_t size =
        ucol_getSortKey(collator, text.utf16(), length, key.data(), static_cast<std::int32_t>(key.size()));
    if (size <= static_cast<std::int32_t>(key.size())) {
      m_bytes.insert(m_bytes.end(), key.begin(), key.begin() + std::max(size, 0));
      return;
    }
    const std::size_t start = m_bytes.size();
    m_bytes.resize(start + static_cast<std::size_t>(size));
    ucol_getSortKey(collator, text.utf16(), length, &m_bytes[start], size);
  }

  std::vector<std::uint8_t> m_bytes;
  std::vector<std::size_t> m_start;
};

void sortByName(Order& order, const Items& items, bool ascending) {
  const NameKeys keys(items);
  sortOrder(order, ascending, [&](std::uint32_t a, std::uint32_t b) { return keys.less(a, b); });
  std::stable_partition(order.begin(), order.end(),
                        [&](std::uint32_t i) { return items[i]->objectType() < SObjectTypeFile; });
}

void sortByDate(Order& order, const Items& items, bool ascending) {
  LocalDays days;
  std::vector<SItem::DateOrder> dates;
  dates.reserve(items.size());
  for (const SItemArray::Pointer& item : items)
    dates.push_back(item->dateOrder(days));
  sortOrder(order, ascending, [&](std::uint32_t a, std::uint32_t b) {
    return dates[a].rank != dates[b].rank ? dates[a].rank < dates[b].rank : dates[a].moment < dates[b].moment;
  });
}

void sortBySize(Order& order, const Items& items, bool ascending) {
  sortOrder(order, ascending,
            [&](std::uint32_t a, std::uint32_t b) { return items[a]->fileSize() < items[b]->fileSize(); });
}

} // namespace

void SItemArray::append(Pointer item) {
  m_items.push_back(std::move(item));
  contentsChanged();
}

void SItemArray::insert(int index, Pointer item) {
  m_items.insert(m_items.begin() + index, std::move(item));
  contentsChanged();
}

void SItemArray::removeAt(int index, int count) {
  m_items.erase(m_items.begin() + index, m_items.begin() + index + count);
}

void SItemArray::removeAll() {
  m_items.clear();
  contentsChanged();
}

int SItemArray::indexOf(const SItem& item) const {
  const auto standsAt = [&](std::int32_t row) { return row >= 0 && row < count() && at(row).get() == &item; };
  if (!standsAt(item.m_row))
    for (int row = 0; row < count(); ++row)
      at(row)->m_row = row;
  return standsAt(item.m_row) ? item.m_row : -1;
}

void SItemArray::sort(const SSortDescriptor& descriptor) {
  if (isSortedBy(descriptor))
    return;
  Order order(m_items.size());
  std::iota(order.begin(), order.end(), 0U);
  switch (descriptor.key) {
  case SSortDescriptor::FileName:
    sortByName(order, m_items, descriptor.ascending);
    break;
  case SSortDescriptor::DateModified:
    sortByDate(order, m_items, descriptor.ascending);
    break;
  case SSortDescriptor::FileSize:
    sortBySize(order, m_items, descriptor.ascending);
    break;
  case SSortDescriptor::None:
    return;
  }
  std::vector<Pointer> sorted;
  sorted.reserve(m_items.size());
  for (const std::uint32_t place : order)
    sorted.push_back(std::move(m_items[place]));
  m_items = std::move(sorted);
  m_sortedBy = descriptor;
}
