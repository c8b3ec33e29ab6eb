#include "store/ce_database.h"

#include <gtest/gtest.h>

#include <vector>

#include "store_test_util.h"

namespace {

constexpr CePropId kTime = MakePropId(0x000B, kCevtFiletime);
constexpr CePropId kName = MakePropId(0x000D, kCevtLpwstr);
constexpr CePropId kCount = MakePropId(0x0010, kCevtUi4);
constexpr CePropId kData = MakePropId(0x000C, kCevtBlob);

CePropVal TimeValue(FileTime t) {
    CePropVal v;
    v.propId = kTime;
    v.fileTime = t;
    return v;
}

CePropVal NameValue(std::u16string s) {
    CePropVal v;
    v.propId = kName;
    v.text = std::move(s);
    return v;
}

CePropVal CountValue(std::uint32_t n) {
    CePropVal v;
    v.propId = kCount;
    v.ui4 = n;
    return v;
}

CeOid Write(CeDatabase& db, std::initializer_list<CePropVal> values, CeOid oid = 0) {
    std::vector<CePropVal> list(values);
    return db.WriteRecord(oid, list.data(), static_cast<unsigned>(list.size()));
}

// The record ids in the handle's order, walked with the cursor.
std::vector<CeOid> Walk(CeDatabase& db) {
    std::vector<CeOid> out;
    for (CeOid id = db.Seek(CeSeek::kBeginning, 0); id != 0; id = db.Seek(CeSeek::kCurrent, 1)) {
        out.push_back(id);
    }
    return out;
}

class CeDatabaseTest : public ::testing::Test {
  protected:
    TempDataDir dir_;
};

TEST_F(CeDatabaseTest, OpeningAMissingDatabaseFailsWithFileNotFound) {
    CeDatabase db;
    EXPECT_FALSE(db.Open(u"Nothing here", 0, 0));
    EXPECT_EQ(db.LastError(), kCeErrorFileNotFound);
    EXPECT_FALSE(db.IsOpen());
}

TEST_F(CeDatabaseTest, CreateOrOpenCreatesTheDatabaseWithItsSortOrders) {
    const CeSortOrder orders[] = {{kTime, 0}, {kName, 0}};
    {
        CeDatabase db;
        ASSERT_TRUE(db.CreateOrOpen(u"Friends", orders, 2, kTime, 0));
        EXPECT_NE(db.databaseId, 0u);
        // A just-created database stays open unsorted until it is next opened.
        EXPECT_EQ(db.SortProperty(), 0u);
        CeSortOrder have[kMaxSortOrders];
        unsigned count = 0;
        ASSERT_TRUE(db.GetSortOrders(have, &count));
        ASSERT_EQ(count, 2u);
        EXPECT_EQ(have[0].propId, kTime);
        EXPECT_EQ(have[1].propId, kName);
    }
    CeDatabase again;
    ASSERT_TRUE(again.CreateOrOpen(u"Friends", orders, 2, kName, 0));
    EXPECT_EQ(again.SortProperty(), kName);
}

TEST_F(CeDatabaseTest, CreateOrOpenReplacesDifferentSortOrders) {
    const CeSortOrder one[] = {{kTime, 0}};
    const CeSortOrder two[] = {{kTime, 0}, {kName, 0}};
    {
        CeDatabase db;
        ASSERT_TRUE(db.CreateOrOpen(u"Friends", one, 1, kTime, 0));
        ASSERT_NE(Write(db, {TimeValue(5), NameValue(u"b")}), 0u);
    }
    CeDatabase db;
    ASSERT_TRUE(db.CreateOrOpen(u"Friends", two, 2, kName, 0));
    EXPECT_EQ(db.SortProperty(), kName);
    CeSortOrder have[kMaxSortOrders];
    unsigned count = 0;
    ASSERT_TRUE(db.GetSortOrders(have, &count));
    EXPECT_EQ(count, 2u);
    std::uint32_t records = 0;
    ASSERT_TRUE(db.GetRecordCount(&records));
    EXPECT_EQ(records, 1u);
}

TEST_F(CeDatabaseTest, OpeningInAnOrderTheDatabaseLacksFailsWithoutNotFound) {
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"Plain", 0, nullptr, 0), 0u);
    EXPECT_FALSE(db.Open(u"Plain", kTime, 0));
    EXPECT_EQ(db.LastError(), kCeErrorInvalidParameter);
    EXPECT_TRUE(db.Open(u"Plain", 0, 0));
}

TEST_F(CeDatabaseTest, SingleSortCreatesTheDatabaseWithTheTimeOrder) {
    CeDatabase db;
    ASSERT_TRUE(db.CreateOrOpenSingleSort(u"Messages", kTime, 0));
    EXPECT_EQ(db.SortProperty(), kTime);
    CeSortOrder have[kMaxSortOrders];
    unsigned count = 0;
    ASSERT_TRUE(db.GetSortOrders(have, &count));
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(have[0].propId, kTime);
    EXPECT_EQ(have[0].flags, 0u);
}

TEST_F(CeDatabaseTest, ADatabaseWithoutSortOrderGetsTheTimeOrderAndKeepsItsRecords) {
    CeOid late, early, middle;
    {
        CeDatabase old;
        ASSERT_NE(old.CreateDatabase(u"Messages", 0, nullptr, 0), 0u);
        ASSERT_TRUE(old.OpenById(0, 0));
        late = Write(old, {TimeValue(300), NameValue(u"late")});
        early = Write(old, {TimeValue(100), NameValue(u"early")});
        middle = Write(old, {TimeValue(200), NameValue(u"middle")});
        ASSERT_NE(middle, 0u);
    }
    CeDatabase db;
    ASSERT_TRUE(db.CreateOrOpenSingleSort(u"Messages", kTime, 0));
    EXPECT_EQ(db.SortProperty(), kTime);
    CeSortOrder have[kMaxSortOrders];
    unsigned count = 0;
    ASSERT_TRUE(db.GetSortOrders(have, &count));
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(have[0].propId, kTime);
    std::uint32_t records = 0;
    ASSERT_TRUE(db.GetRecordCount(&records));
    EXPECT_EQ(records, 3u);
    EXPECT_EQ(Walk(db), (std::vector<CeOid>{early, middle, late}));
}

TEST_F(CeDatabaseTest, SeekingPastTheLastRecordReturnsZero) {
    const CeSortOrder order{kTime, 0};
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, &order, 1), 0u);
    ASSERT_TRUE(db.Open(u"D", kTime, 0));
    const CeOid a = Write(db, {TimeValue(1)});
    const CeOid b = Write(db, {TimeValue(2)});
    EXPECT_EQ(db.Seek(CeSeek::kBeginning, 0), a);
    EXPECT_EQ(db.Seek(CeSeek::kCurrent, 1), b);
    EXPECT_EQ(db.Seek(CeSeek::kCurrent, 1), 0u);
    EXPECT_EQ(db.currentId, 0u);
    EXPECT_EQ(db.Seek(CeSeek::kCurrent, 1), 0u);
}

TEST_F(CeDatabaseTest, AnEmptyDatabaseHasNoFirstRecord) {
    const CeSortOrder order{kTime, 0};
    CeDatabase db;
    ASSERT_TRUE(db.CreateOrOpen(u"D", &order, 1, kTime, 0));
    EXPECT_EQ(db.Seek(CeSeek::kBeginning, 0), 0u);
    EXPECT_EQ(db.Seek(CeSeek::kCurrent, 1), 0u);
    std::uint32_t records = 99;
    ASSERT_TRUE(db.GetRecordCount(&records));
    EXPECT_EQ(records, 0u);
}

TEST_F(CeDatabaseTest, EqualValuesRunInIdOrderAndRecordsWithoutTheValueComeLast) {
    const CeSortOrder order{kTime, 0};
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, &order, 1), 0u);
    ASSERT_TRUE(db.Open(u"D", kTime, 0));
    const CeOid none1 = Write(db, {NameValue(u"no time")});
    const CeOid t5a = Write(db, {TimeValue(5)});
    const CeOid t1 = Write(db, {TimeValue(1)});
    const CeOid t5b = Write(db, {TimeValue(5)});
    const CeOid none2 = Write(db, {CountValue(3)});
    const std::vector<CeOid> forward{t1, t5a, t5b, none1, none2};
    EXPECT_EQ(Walk(db), forward);
    // And backwards from the end.
    std::vector<CeOid> backward;
    for (CeOid id = db.Seek(CeSeek::kEnd, 0); id != 0;
         id = db.Seek(CeSeek::kCurrent, static_cast<std::uint32_t>(-1))) {
        backward.push_back(id);
    }
    EXPECT_EQ(backward, std::vector<CeOid>(forward.rbegin(), forward.rend()));
    EXPECT_EQ(db.Seek(CeSeek::kBeginning, 2), t5b);
    EXPECT_EQ(db.Seek(CeSeek::kCurrent, 2), none2);
    EXPECT_EQ(db.Seek(CeSeek::kEnd, 1), none1);
    EXPECT_EQ(db.Seek(CeSeek::kOid, t1), t1);
    EXPECT_EQ(db.Seek(CeSeek::kCurrent, 1), t5a);
    EXPECT_EQ(db.Seek(CeSeek::kOid, 999), 0u);
}

// The filtered cursor of the stores built on this layer, in reach of the tests.
class FilterProbe : public CeDatabase {
  public:
    using CeDatabase::RecordFilter;
    using CeDatabase::SeekForwardTo;
};

// The selected records of a walk in the handle's order, and before each of them (and after
// the last) how many tallied records were passed.
struct FilteredWalk {
    std::vector<CeOid> selected;
    std::vector<std::uint32_t> tallies;
    CeOid restsOn = 0;  // where the cursor is once nothing more is selected
    bool operator==(const FilteredWalk& o) const {
        return selected == o.selected && tallies == o.tallies && restsOn == o.restsOn;
    }
};

// Record by record: kCount % 3 == 0 is selected, kCount % 3 == 1 is tallied.
FilteredWalk WalkRecordByRecord(CeDatabase& db) {
    FilteredWalk out;
    std::uint32_t tally = 0;
    for (CeOid id = db.Seek(CeSeek::kBeginning, 0); id != 0; id = db.Seek(CeSeek::kCurrent, 1)) {
        CePropVal count;
        EXPECT_EQ(db.ReadProperty(kCount, &count), id);
        const bool found = !(count.flags & kPropNotFound);
        if (found && count.ui4 % 3 == 1) ++tally;
        if (found && count.ui4 % 3 == 0) {
            out.selected.push_back(id);
            out.tallies.push_back(tally);
            tally = 0;
        }
    }
    out.tallies.push_back(tally);
    out.restsOn = db.Seek(CeSeek::kCurrent, 0);
    return out;
}

FilteredWalk WalkSelected(FilterProbe& db) {
    const FilterProbe::RecordFilter match{"p_00100013 % 3 = 0", ""};
    const FilterProbe::RecordFilter tally{"p_00100013 % 3 = 1", ""};
    FilteredWalk out;
    std::uint32_t passed = 0;
    for (CeOid id = db.SeekForwardTo(true, match, &tally, &passed); id != 0;
         id = db.SeekForwardTo(false, match, &tally, &passed)) {
        EXPECT_EQ(db.currentId, id);
        out.selected.push_back(id);
        out.tallies.push_back(passed);
    }
    EXPECT_EQ(db.currentId, 0u);
    EXPECT_EQ(db.LastError(), kCeErrorNoRecord);
    out.tallies.push_back(passed);
    out.restsOn = db.Seek(CeSeek::kCurrent, 0);
    return out;
}

TEST_F(CeDatabaseTest, AFilteredWalkMeetsWhatAWalkRecordByRecordMeets) {
    const CeSortOrder order{kTime, 0};
    FilterProbe db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, &order, 1), 0u);
    ASSERT_TRUE(db.Open(u"D", kTime, 0));
    // Equal times, records without a time or without a count, ids out of time order.
    std::uint32_t seed = 7;
    for (int i = 0; i < 300; ++i) {
        seed = seed * 1103515245u + 12345u;
        const std::uint32_t r = seed >> 8;
        std::vector<CePropVal> values;
        if (r % 7 != 0) values.push_back(TimeValue(r % 40));
        if (r % 11 != 0) values.push_back(CountValue((r >> 6) % 10));
        if (values.empty()) values.push_back(NameValue(u"neither"));
        ASSERT_NE(db.WriteRecord(0, values.data(), static_cast<unsigned>(values.size())), 0u);
    }
    const FilteredWalk expected = WalkRecordByRecord(db);
    ASSERT_GT(expected.selected.size(), 50u);
    EXPECT_EQ(WalkSelected(db), expected);
    // The same in id order, on a handle without a sort order.
    ASSERT_TRUE(db.Open(u"D", 0, 0));
    const FilteredWalk byId = WalkRecordByRecord(db);
    EXPECT_NE(byId.selected, expected.selected);
    EXPECT_EQ(WalkSelected(db), byId);
}

TEST_F(CeDatabaseTest, AFilteredWalkThatSelectsNothingLeavesAnEmptyDatabaseAlone) {
    const CeSortOrder order{kTime, 0};
    FilterProbe db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, &order, 1), 0u);
    ASSERT_TRUE(db.Open(u"D", kTime, 0));
    const FilterProbe::RecordFilter all{"1", ""};
    std::uint32_t passed = 99;
    EXPECT_EQ(db.SeekForwardTo(true, all, &all, &passed), 0u);
    EXPECT_EQ(passed, 0u);
    EXPECT_EQ(db.LastError(), kCeErrorNoRecord);
    EXPECT_EQ(db.Seek(CeSeek::kCurrent, 0), 0u);
    const CeOid only = Write(db, {TimeValue(3)});
    EXPECT_EQ(db.SeekForwardTo(true, all, &all, &passed), only);
    EXPECT_EQ(passed, 1u);
    EXPECT_EQ(db.SeekForwardTo(false, all, &all, &passed), 0u);
    EXPECT_EQ(passed, 0u);
    EXPECT_EQ(db.Seek(CeSeek::kCurrent, 0), only);
    ASSERT_TRUE(db.Close());
    EXPECT_EQ(db.SeekForwardTo(true, all, nullptr, nullptr), 0u);
    EXPECT_EQ(db.LastError(), kCeErrorInvalidParameter);
}

TEST_F(CeDatabaseTest, StringOrderFollowsTheCodeUnits) {
    const CeSortOrder order{kName, 0};
    CeDatabase db;
    ASSERT_TRUE(db.CreateOrOpen(u"Names", &order, 1, kName, 0));
    ASSERT_TRUE(db.Open(u"Names", kName, 0));
    const CeOid zoe = Write(db, {NameValue(u"Zoe")});
    const CeOid anna = Write(db, {NameValue(u"anna")});
    const CeOid ann = Write(db, {NameValue(u"Ann")});
    const CeOid empty = Write(db, {NameValue(u"")});
    const CeOid high = Write(db, {NameValue(u"\xFF80")});
    const CeOid annB = Write(db, {NameValue(u"Ann B")});
    EXPECT_EQ(Walk(db), (std::vector<CeOid>{empty, ann, annB, zoe, anna, high}));
}

TEST_F(CeDatabaseTest, EveryCodeUnitComesBackExactly) {
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    ASSERT_TRUE(db.OpenById(0, 0));
    std::u16string all;
    for (std::uint32_t c = 0; c <= 0xFFFF; ++c) all.push_back(static_cast<char16_t>(c));
    all += u"\xD800";  // a lone surrogate at the end
    const CeOid id = Write(db, {NameValue(all)});
    ASSERT_NE(id, 0u);
    CeDatabase other;
    ASSERT_TRUE(other.Open(u"D", 0, 0));
    ASSERT_EQ(other.Seek(CeSeek::kOid, id), id);
    std::vector<CePropVal> values;
    ASSERT_EQ(other.ReadRecord(&kName, 1, &values), id);
    ASSERT_EQ(values.size(), 1u);
    EXPECT_EQ(values[0].flags, 0);
    EXPECT_EQ(values[0].text, all);
}

TEST_F(CeDatabaseTest, MissingPropertiesReadAsNotFound) {
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    ASSERT_TRUE(db.OpenById(0, 0));
    const CeOid id = Write(db, {CountValue(7)});
    ASSERT_EQ(db.Seek(CeSeek::kOid, id), id);
    const CePropId asked[] = {kName, kCount, kTime, kData};
    std::vector<CePropVal> values;
    ASSERT_EQ(db.ReadRecord(asked, 4, &values), id);
    EXPECT_EQ(db.currentId, id);
    EXPECT_EQ(values[0].flags, kPropNotFound);
    EXPECT_EQ(values[1].flags, 0);
    EXPECT_EQ(values[1].ui4, 7u);
    EXPECT_EQ(values[2].flags, kPropNotFound);
    EXPECT_EQ(values[3].flags, kPropNotFound);
    CePropVal one;
    EXPECT_EQ(db.ReadProperty(kTime, &one), id);
    EXPECT_EQ(one.flags, kPropNotFound);
    EXPECT_EQ(db.ReadProperty(kCount, &one), id);
    EXPECT_EQ(one.ui4, 7u);
    // Only fixed-size values can be read alone.
    EXPECT_EQ(db.ReadProperty(kName, &one), 0u);
}

TEST_F(CeDatabaseTest, AWriteChangesOnlyTheGivenPropertiesAndCanRemoveOne) {
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    ASSERT_TRUE(db.OpenById(0, 0));
    const CeOid id = Write(db, {CountValue(1), NameValue(u"first"), TimeValue(10)});
    ASSERT_EQ(Write(db, {CountValue(2)}, id), id);
    CePropVal remove;
    remove.propId = kName;
    remove.flags = kPropDelete;
    ASSERT_EQ(db.WriteRecord(id, &remove, 1), id);
    const CePropId asked[] = {kCount, kName, kTime};
    std::vector<CePropVal> values;
    ASSERT_EQ(db.Seek(CeSeek::kOid, id), id);
    ASSERT_EQ(db.ReadRecord(asked, 3, &values), id);
    EXPECT_EQ(values[0].ui4, 2u);
    EXPECT_EQ(values[1].flags, kPropNotFound);
    EXPECT_EQ(values[2].fileTime, 10u);
}

TEST_F(CeDatabaseTest, WritingOrDeletingAnUnknownRecordFails) {
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    ASSERT_TRUE(db.OpenById(0, 0));
    EXPECT_EQ(Write(db, {CountValue(1)}, 4242), 0u);
    EXPECT_EQ(db.LastError(), kCeErrorNoRecord);
    EXPECT_FALSE(db.DeleteRecord(4242));
    std::uint32_t records = 9;
    ASSERT_TRUE(db.GetRecordCount(&records));
    EXPECT_EQ(records, 0u);
}

TEST_F(CeDatabaseTest, BadValuesAreRefused) {
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    ASSERT_TRUE(db.OpenById(0, 0));
    EXPECT_EQ(Write(db, {TimeValue(0x8000000000000000ull)}), 0u);
    EXPECT_EQ(db.LastError(), kCeErrorInvalidParameter);
    CePropVal odd;
    odd.propId = MakePropId(0x0001, 0x0002);  // a type this layer does not know
    EXPECT_EQ(db.WriteRecord(0, &odd, 1), 0u);
    const CeSortOrder blobOrder{kData, 0};
    EXPECT_EQ(db.CreateDatabase(u"E", 0, &blobOrder, 1), 0u);
    const CeSortOrder descending{kTime, 1};
    EXPECT_EQ(db.CreateDatabase(u"F", 0, &descending, 1), 0u);
    CeDatabase closed;
    EXPECT_EQ(closed.Seek(CeSeek::kBeginning, 0), 0u);
    EXPECT_EQ(closed.WriteRecord(0, &odd, 0), 0u);
}

TEST_F(CeDatabaseTest, RecordIdsAreNeverReused) {
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    ASSERT_TRUE(db.OpenById(0, 0));
    const CeOid a = Write(db, {CountValue(1)});
    const CeOid b = Write(db, {CountValue(2)});
    ASSERT_TRUE(db.DeleteRecord(b));
    const CeOid c = Write(db, {CountValue(3)});
    EXPECT_GT(c, b);
    EXPECT_GT(b, a);
}

TEST_F(CeDatabaseTest, TheCursorMovesOnFromADeletedRecord) {
    const CeSortOrder order{kTime, 0};
    CeDatabase db;
    ASSERT_TRUE(db.CreateOrOpen(u"D", &order, 1, kTime, 0));
    ASSERT_TRUE(db.Open(u"D", kTime, 0));
    const CeOid a = Write(db, {TimeValue(1)});
    const CeOid b = Write(db, {TimeValue(2)});
    const CeOid c = Write(db, {TimeValue(3)});
    ASSERT_EQ(db.Seek(CeSeek::kOid, b), b);
    ASSERT_TRUE(db.DeleteRecord(b));
    std::vector<CePropVal> values;
    EXPECT_EQ(db.ReadRecord(&kTime, 1, &values), 0u);  // the current record is gone
    EXPECT_EQ(db.Seek(CeSeek::kCurrent, 1), c);
    EXPECT_EQ(db.Seek(CeSeek::kBeginning, 0), a);
}

TEST_F(CeDatabaseTest, TwoObjectsSeeEachOthersWrites) {
    const CeSortOrder order{kTime, 0};
    CeDatabase first, second;
    ASSERT_TRUE(first.CreateOrOpen(u"Shared", &order, 1, kTime, 0));
    ASSERT_TRUE(second.CreateOrOpen(u"Shared", &order, 1, kTime, 0));
    const CeOid id = Write(first, {TimeValue(7), NameValue(u"hello")});
    ASSERT_NE(id, 0u);
    ASSERT_EQ(second.Seek(CeSeek::kBeginning, 0), id);
    // A property column that the other object added after this one opened is found.
    std::vector<CePropVal> values;
    ASSERT_EQ(second.ReadRecord(&kName, 1, &values), id);
    EXPECT_EQ(values[0].text, u"hello");
}

TEST_F(CeDatabaseTest, NamesAreUniqueAndDatabasesCanBeDeleted) {
    CeDatabase db;
    ASSERT_NE(db.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    CeDatabase again;
    EXPECT_EQ(again.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    EXPECT_EQ(again.LastError(), kCeErrorAlreadyExists);
    ASSERT_TRUE(db.OpenById(0, 0));
    ASSERT_NE(Write(db, {CountValue(1)}), 0u);
    db.Close();
    ASSERT_TRUE(CeDatabase::DeleteDatabase(u"D"));
    EXPECT_FALSE(db.Open(u"D", 0, 0));
    EXPECT_EQ(db.LastError(), kCeErrorFileNotFound);
    EXPECT_FALSE(CeDatabase::DeleteDatabase(u"D"));
    ASSERT_NE(db.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    ASSERT_TRUE(db.OpenById(0, 0));
    EXPECT_EQ(db.Seek(CeSeek::kBeginning, 0), 0u);
}

TEST_F(CeDatabaseTest, ClosingIsHarmlessAndAClosedObjectDoesNothing) {
    CeDatabase db;
    EXPECT_TRUE(db.Close());
    ASSERT_NE(db.CreateDatabase(u"D", 0, nullptr, 0), 0u);
    ASSERT_TRUE(db.OpenById(0, 0));
    EXPECT_TRUE(db.Close());
    EXPECT_FALSE(db.IsOpen());
    EXPECT_FALSE(db.DeleteRecord(1));
    CePropVal v;
    EXPECT_EQ(db.ReadProperty(kCount, &v), 0u);
}

}  // namespace
