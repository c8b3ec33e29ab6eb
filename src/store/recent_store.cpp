#include "store/recent_store.h"

namespace {

constexpr CeSortOrder kRecentSortOrders[] = {{kPropRecentLastUsed, 0}, {kPropRecentName, 0}};
constexpr CePropId kRecentProps[] = {kPropRecentName, kPropRecentNumber, kPropRecentLastUsed};

}  // namespace

bool OpenRecentStore(RecentDatabase& db, CePropId sortProperty) {
    if (!db.IsOpen() &&
        !db.CreateOrOpen(kRecentDatabaseName, kRecentSortOrders, 2, sortProperty, 0)) {
        return false;
    }
    // A just-created database comes back unsorted, and an object may still be open in the
    // other order: both are reopened in the order asked for.
    if (db.SortProperty() != sortProperty) return db.Open(kRecentDatabaseName, sortProperty, 0);
    return true;
}

bool ReadCurrent(RecentDatabase& db, RecentRecipient& entry) {
    std::vector<CePropVal> values;
    const CeOid oid = db.ReadRecord(kRecentProps, 3, &values);
    if (oid == 0) return false;
    for (const CePropVal& value : values) {
        if (value.flags & kPropNotFound) continue;
        switch (value.propId) {
            case kPropRecentName:
                entry.name = value.text;
                break;
            case kPropRecentNumber:
                entry.number = value.text;
                break;
            case kPropRecentLastUsed:
                entry.lastUsed = value.fileTime;
                break;
            default:
                break;
        }
    }
    entry.oid = oid;
    return true;
}

bool AddRecent(RecentDatabase& db, RecentRecipient& entry) {
    if (!OpenRecentStore(db, kPropRecentLastUsed)) return false;
    entry.lastUsed = CurrentLocalFileTime();
    entry.oid = 0;
    for (CeOid at = db.Seek(CeSeek::kBeginning, 0); at != 0; at = db.Seek(CeSeek::kCurrent, 1)) {
        RecentRecipient stored;
        if (!ReadCurrent(db, stored)) continue;
        // The name decides first, and empty names are equal: at most one nameless entry.
        if (stored.name == entry.name) {
            entry.oid = stored.oid;
            break;
        }
        if (stored.number == entry.number) {
            // A nameless use of a number that already has a (named) entry keeps that entry.
            if (entry.name.empty()) return true;
            entry.oid = stored.oid;
            break;
        }
    }
    CePropVal values[3];
    values[0].propId = kPropRecentName;
    values[0].text = entry.name;
    values[1].propId = kPropRecentNumber;
    values[1].text = entry.number;
    values[2].propId = kPropRecentLastUsed;
    values[2].fileTime = entry.lastUsed;
    const CeOid oid = db.WriteRecord(entry.oid, values, 3);
    if (oid == 0) return false;
    entry.oid = oid;
    // The handle is sorted by last use, so the first record is the least recently used.
    std::uint32_t count = 0;
    if (!db.GetRecordCount(&count)) return true;
    while (count > kMaxRecentRecipients) {
        const CeOid oldest = db.Seek(CeSeek::kBeginning, 0);
        if (oldest == 0 || !db.DeleteRecord(oldest)) break;
        std::uint32_t after = 0;
        if (!db.GetRecordCount(&after) || after >= count) break;
        count = after;
    }
    return true;
}

bool ListRecentByName(RecentDatabase& db, std::vector<RecentRecipient>* entries) {
    entries->clear();
    if (!OpenRecentStore(db, kPropRecentName)) return false;
    for (CeOid at = db.Seek(CeSeek::kBeginning, 0); at != 0; at = db.Seek(CeSeek::kCurrent, 1)) {
        RecentRecipient entry;
        if (ReadCurrent(db, entry)) entries->push_back(std::move(entry));
    }
    return true;
}

std::u16string FormatRecentItem(std::u16string_view first, std::u16string_view second) {
    std::u16string out(first);
    if (!second.empty()) {
        out += u" (";
        out += second;
        out += u')';
    }
    return out;
}

void ParseNameItem(RecentRecipient& entry, std::u16string_view itemText) {
    entry.name.assign(itemText);
    entry.number.clear();
    const std::size_t open = itemText.rfind(u" (");
    if (open == std::u16string_view::npos) return;
    const std::size_t close = itemText.rfind(u')');
    if (close != std::u16string_view::npos && close > open) {
        entry.number.assign(itemText.substr(open + 2, close - open - 2));
    }
    entry.name.assign(itemText.substr(0, open));
}

void ParseNumberItem(RecentRecipient& entry, std::u16string_view itemText) {
    entry.number.assign(itemText);
    entry.name.clear();
    const std::size_t open = itemText.find(u" (");
    if (open == std::u16string_view::npos) return;
    const std::size_t close = itemText.rfind(u')');
    if (close != std::u16string_view::npos && close > open) {
        entry.name.assign(itemText.substr(open + 2, close - open - 2));
    }
    entry.number.assign(itemText.substr(0, open));
}
