// Tables in files.
#include <gmock/gmock.h>
#include <xxhash.h>

#include <array>
#include <cstring>
#include <random>

#include "ErrorNumber.h"
#include "core/DigestOrder.h"
#include "core/Recordset.h"
#include "decorators/FaultInjectingPlatform.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

using decorators::FaultInjectingPlatform;
using platform::SysError;
using test::ErrorNumber;
using test::ErrorText;
using testing::HasSubstr;

class TableFiles : public test::EngineTest {
protected:
    [[nodiscard]] std::string Path() const { return Folder() + "table.sdb"; }

    static void Define(Recordset& table) {
        table.AppendField("ID", FieldType::Integer);
        table.AppendField("Key", FieldType::VarChar, 50);
        table.AppendField("Level", FieldType::SmallInt);
        table.AppendField("Flag", FieldType::Boolean);
        table.AppendField("When", FieldType::Date);
        table.AppendField("Amount", FieldType::Numeric);
        table.Open();
    }
    static void Add(Recordset& table, std::int32_t id, const std::string& key) {
        table.AddNew();
        table.Set("ID", id);
        table.Set("Key", key);
        table.Update();
    }
    void SaveSmall() {
        Recordset table;
        Define(table);
        Add(table, 1, "one");
        Add(table, 2, "two");
        table.Save(Path());
    }

    static std::vector<std::vector<Value>> RowsOf(Recordset& table) {
        std::vector<std::vector<Value>> rows;
        for (table.SetFilter(""); !table.Eof(); table.MoveNext()) {
            rows.emplace_back();
            for (std::size_t i = 0; i < table.FieldCount(); ++i) {
                rows.back().push_back(table.Get(i));
            }
        }
        return rows;
    }

    static void ForgeChecksum(std::string& image) {
        const auto head = XXH3_64bits(image.data(), 24);
        const std::uint64_t sum = XXH3_64bits_withSeed(image.data() + 32, image.size() - 32, head);
        std::memcpy(image.data() + 24, &sum, sizeof sum);
    }
    int OpenError(const std::string& image) {
        WriteFile(Path(), image);
        return ErrorNumber([&] {
            Recordset table;
            table.Open(Path());
        });
    }
};

TEST_F(TableFiles, ATableComesBackWithItsColumnsAndRows) {
    Recordset table;
    Define(table);
    table.AddNew();
    table.Set("ID", -5);
    table.Set("Key", std::string("C:\\x"));
    table.Set("Level", -32768);
    table.Set("Flag", true);
    table.Set("When", Date{38353.25});
    table.Set("Amount", -1.5);
    table.AddNew();
    table.Set("ID", 2147483647);
    table.Set("Key", std::string());
    table.Set("Level", 32767);
    table.Set("Flag", false);
    table.AddNew();
    table.Update();
    table.Save(Path());
    Recordset loaded;
    loaded.Open(Path());
    ASSERT_EQ(loaded.FieldCount(), 6U);
    EXPECT_EQ(loaded.Field(1).name, "Key");
    EXPECT_EQ(loaded.Field(1).type, FieldType::VarChar);
    EXPECT_EQ(loaded.Field(1).size, 50U);
    EXPECT_EQ(loaded.Field(5).type, FieldType::Numeric);
    EXPECT_EQ(loaded.Get("ID"), Value(-5));
    EXPECT_EQ(RowsOf(loaded), RowsOf(table));
}

TEST_F(TableFiles, AnEmptyTableComesBackEmpty) {
    Recordset table;
    Define(table);
    table.Save(Path());
    Recordset loaded;
    loaded.Open(Path());
    EXPECT_EQ(loaded.FieldCount(), 6U);
    EXPECT_TRUE(loaded.Eof());
    EXPECT_TRUE(loaded.Bof());
    EXPECT_EQ(loaded.RecordCount(), 0);
}

TEST_F(TableFiles, SavingWritesCommittedRowsOnly) {
    Recordset table;
    Define(table);
    Add(table, 1, "one");
    table.AddNew();
    table.Set("ID", 2);
    table.Save(Path());
    Recordset loaded;
    loaded.Open(Path());
    EXPECT_EQ(loaded.RecordCount(), 1);
    table.Update();
    EXPECT_EQ(table.RecordCount(), 2);
}

TEST_F(TableFiles, SavingLeavesOutAnEditThatIsNotCommitted) {
    Recordset table;
    Define(table);
    Add(table, 1, "one");
    table.Set("Key", std::string("changed"));
    table.Save(Path());
    Recordset loaded;
    loaded.Open(Path());
    EXPECT_EQ(loaded.Get("Key"), Value(std::string("one")));
    EXPECT_EQ(table.Get("Key"), Value(std::string("changed")));
}

TEST_F(TableFiles, SavingIgnoresTheFilterAndDeletedRows) {
    Recordset table;
    Define(table);
    Add(table, 1, "one");
    Add(table, 2, "two");
    Add(table, 3, "three");
    table.SetFilter("ID=2");
    table.Delete();
    table.Save(Path());
    Recordset loaded;
    loaded.Open(Path());
    ASSERT_EQ(loaded.RecordCount(), 2);
    loaded.MoveLast();
    EXPECT_EQ(loaded.Get("Key"), Value(std::string("three")));
}

TEST_F(TableFiles, SavingDoesNotMove) {
    Recordset table;
    Define(table);
    Add(table, 1, "one");
    Add(table, 2, "two");
    table.MoveFirst();
    table.Save(Path());
    EXPECT_EQ(table.Get("ID"), Value(1));
}

TEST_F(TableFiles, SavingToAFileThatIsThereFailsAndLeavesIt) {
    SaveSmall();
    const std::string before = ReadFile(Path());
    Recordset table;
    Define(table);
    EXPECT_EQ(ErrorNumber([&] { table.Save(Path()); }), ErrFileExists);
    EXPECT_EQ(ReadFile(Path()), before);
}

TEST_F(TableFiles, SavingWithoutAPathGoesWhereTheTableCameFromOrWentLast) {
    SaveSmall();
    Recordset table;
    table.Open(Path());
    Add(table, 3, "three");
    table.Save();
    Recordset loaded;
    loaded.Open(Path());
    EXPECT_EQ(loaded.RecordCount(), 3);
    Recordset fresh;
    Define(fresh);
    EXPECT_EQ(ErrorNumber([&] { fresh.Save(); }), ErrInvalidArgument);
    fresh.Save(Folder() + "other.sdb");
    ASSERT_EQ(platform::Current().files->Remove(Folder() + "other.sdb"), SysError::Success);
    fresh.Save();
    fresh.Save();
    EXPECT_TRUE(Exists(Folder() + "other.sdb"));
}

TEST_F(TableFiles, TheSameRowsGiveTheSameBytes) {
    Recordset direct;
    Define(direct);
    Add(direct, 1, "one");
    Add(direct, 3, "three");
    direct.Save(Folder() + "direct.sdb");
    Recordset roundabout;
    Define(roundabout);
    Add(roundabout, 9, "a much longer text");
    roundabout.Set("ID", 1);
    roundabout.Set("Key", std::string("one"));
    roundabout.Set("Level", 7);
    roundabout.Update();
    roundabout.Set("Level", Null{});
    Add(roundabout, 2, "two");
    roundabout.Delete();
    Add(roundabout, 3, "three");
    roundabout.Save(Folder() + "roundabout.sdb");
    EXPECT_EQ(ReadFile(Folder() + "direct.sdb"), ReadFile(Folder() + "roundabout.sdb"));
    Recordset loaded;
    loaded.Open(Folder() + "direct.sdb");
    loaded.Save(Path());
    EXPECT_EQ(ReadFile(Path()), ReadFile(Folder() + "direct.sdb"));
}

TEST_F(TableFiles, AMissingFileIsNotFound) {
    Recordset table;
    EXPECT_EQ(ErrorNumber([&] { table.Open(Path()); }), ErrFileNotFound);
    EXPECT_FALSE(table.IsOpen());
    EXPECT_EQ(ErrorNumber([&] { table.Open(Folder() + "none\\table.sdb"); }), ErrPathNotFound);
    EXPECT_EQ(ErrorNumber([&] { table.Open(Folder() + "app"); }), ErrPermissionDenied);
}

TEST_F(TableFiles, AForeignFileIsRefusedByItsName) {
    const auto open = [&] {
        Recordset table;
        table.Open(Path());
    };
    for (const std::string& bytes : {std::string(), std::string("TG!"), std::string(1000, '\0'),
                                     std::string("KELSDB\r\n") + std::string(24, '\0')}) {
        WriteFile(Path(), bytes);
        EXPECT_EQ(ErrorNumber(open), ErrDamagedTable);
        EXPECT_THAT(ErrorText(open), HasSubstr("table.sdb"));
    }
}

TEST_F(TableFiles, EveryShorterFileIsRefused) {
    SaveSmall();
    const std::string image = ReadFile(Path());
    for (std::size_t size = 0; size < image.size(); ++size) {
        EXPECT_EQ(OpenError(image.substr(0, size)), ErrDamagedTable) << size;
    }
    EXPECT_EQ(OpenError(image + '\0'), ErrDamagedTable);
    EXPECT_EQ(OpenError(image), 0);
}

TEST_F(TableFiles, EveryChangedBitIsNoticed) {
    SaveSmall();
    const std::string image = ReadFile(Path());
    for (std::size_t bit = 0; bit < image.size() * 8; ++bit) {
        std::string damaged = image;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << (bit % 8));
        EXPECT_EQ(OpenError(damaged), ErrDamagedTable) << "bit " << bit;
    }
}

TEST_F(TableFiles, AFileThatLiesAboutItsContentsIsRefused) {
    SaveSmall();
    const std::string image = ReadFile(Path());
    const auto with = [&](std::size_t at, const std::string& bytes) {
        std::string forged = image;
        forged.replace(at, bytes.size(), bytes);
        ForgeChecksum(forged);
        return OpenError(forged);
    };
    const auto number = [](std::uint64_t value, std::size_t width) {
        std::string bytes;
        for (std::size_t i = 0; i < width; ++i) {
            bytes += static_cast<char>(static_cast<unsigned char>(value >> (8 * i)));
        }
        return bytes;
    };
    constexpr std::size_t first = 32;
    constexpr std::size_t second = 32 + 24;
    EXPECT_EQ(with(8, number(1, 2)), 0) << "nothing was forged";
    EXPECT_EQ(with(8, number(2, 2)), ErrDamagedTable) << "version";
    EXPECT_EQ(with(10, number(0, 2)), ErrDamagedTable) << "no columns";
    EXPECT_EQ(with(10, number(65535, 2)), ErrDamagedTable) << "too many columns";
    EXPECT_EQ(with(10, number(5, 2)), ErrDamagedTable) << "a column too few";
    EXPECT_EQ(with(12, number(3, 4)), ErrDamagedTable) << "a row too many";
    EXPECT_EQ(with(12, number(0xFFFFFFFF, 4)), ErrDamagedTable) << "rows";
    EXPECT_EQ(with(first, number(4, 2)), ErrDamagedTable) << "unknown type";
    EXPECT_EQ(with(first, number(200, 2)), ErrDamagedTable) << "type without its encoding";
    EXPECT_EQ(with(first + 2, number(7, 1)), ErrDamagedTable) << "unknown encoding";
    EXPECT_EQ(with(first + 2, number(0, 1) + number(0, 1)), ErrDamagedTable) << "data of a constant";
    EXPECT_EQ(with(first + 3, number(2, 1)), ErrDamagedTable) << "null mark";
    EXPECT_EQ(with(first + 12, number(0, 4)), ErrDamagedTable) << "no name";
    EXPECT_EQ(with(first + 12, number(0xFFFFFFFF, 4)), ErrDamagedTable) << "name too long";
    EXPECT_EQ(with(first + 16, number(1, 8)), ErrDamagedTable) << "data too short";
    EXPECT_EQ(with(first + 16, number(~std::uint64_t{0}, 8)), ErrDamagedTable) << "data too long";
    EXPECT_EQ(with(second + 16, number(7, 8)), ErrDamagedTable) << "a text table without room for its ends";
    EXPECT_EQ(with(second + 16, number(~std::uint64_t{0} - 7, 8)), ErrDamagedTable) << "pool too long";
}

TEST_F(TableFiles, TextsThatOverlapAreRefused) {
    SaveSmall();
    std::string image = ReadFile(Path());
    const std::string ends{"\3\0\0\0\6\0\0\0onetwo", 14};
    const std::size_t at = image.find(ends);
    ASSERT_NE(at, std::string::npos);
    for (const int bad : {7, 2, 255}) {
        std::string forged = image;
        forged[at + (bad == 2 ? 4 : 0)] = static_cast<char>(bad);
        ForgeChecksum(forged);
        EXPECT_EQ(OpenError(forged), ErrDamagedTable) << bad;
    }
}

TEST_F(TableFiles, ARefusedFileLeavesTheRecordsetUsable) {
    WriteFile(Path(), "rubbish");
    Recordset table;
    EXPECT_EQ(ErrorNumber([&] { table.Open(Path()); }), ErrDamagedTable);
    EXPECT_FALSE(table.IsOpen());
    Define(table);
    EXPECT_TRUE(table.IsOpen());
}

TEST_F(TableFiles, AFailedSaveLeavesNothingBehind) {
    Recordset table;
    Define(table);
    Add(table, 1, "one");
    FaultInjectingPlatform faults(Machine());
    Install(faults.View());
    faults.DiskFullAfter(40);
    EXPECT_EQ(ErrorNumber([&] { table.Save(Path()); }), ErrDiskFull);
    EXPECT_FALSE(Exists(Path()));
    faults.Clear();
    faults.FailWrite(1, SysError::AccessDenied);
    EXPECT_EQ(ErrorNumber([&] { table.Save(Path()); }), ErrPermissionDenied);
    EXPECT_FALSE(Exists(Path()));
    faults.Clear();
    EXPECT_EQ(ErrorNumber([&] { table.Save(Folder() + "none\\table.sdb"); }), ErrPathNotFound);
    table.Save(Path());
    EXPECT_TRUE(Exists(Path()));
}

TEST_F(TableFiles, AFileThatCanNotBeReadIsDenied) {
    SaveSmall();
    FaultInjectingPlatform faults(Machine());
    Install(faults.View());
    faults.Lock(Path());
    Recordset table;
    EXPECT_EQ(ErrorNumber([&] { table.Open(Path()); }), ErrPermissionDenied);
}

TEST_F(TableFiles, TextIsUtf8InTheFileAndTheMachinesOwnInMemory) {
    const std::string letters = platform::Current().text->FromUtf8("\xC3\xA9t\xC3\xA9");
    Recordset table;
    table.AppendField(letters, FieldType::VarChar, 30);
    table.Open();
    for (const std::string& text : {std::string("plain"), letters, std::string()}) {
        table.AddNew();
        table.Set(std::size_t{0}, text);
    }
    table.Update();
    table.Save(Path());
    EXPECT_THAT(ReadFile(Path()), HasSubstr("plain\xC3\xA9t\xC3\xA9"));
    Recordset loaded;
    loaded.Open(Path());
    EXPECT_EQ(loaded.Field(0).name, letters);
    loaded.SetFilter("[" + letters + "]='" + letters + "'");
    EXPECT_EQ(loaded.Get(letters), Value(letters));
    EXPECT_EQ(RowsOf(loaded), RowsOf(table));
}

std::string RandomDigest(std::mt19937& random) {
    std::string text;
    for (int i = 0; i < 32; ++i) {
        text += "0123456789abcdef"[random() % 16];
    }
    return text;
}

TEST_F(TableFiles, LowerCaseDigestsArePackedAndReadAsText) {
    std::mt19937 random(1);
    Recordset table;
    table.AppendField("ThreatID", FieldType::Integer);
    table.AppendField("MD5", FieldType::VarChar, 32);
    table.AppendField("OptionalScan", FieldType::SmallInt);
    table.Open();
    // Enough for the file to stay mapped.
    constexpr std::int32_t count = 70000;
    std::vector<std::string> digests;
    for (std::int32_t i = 0; i < count; ++i) {
        digests.push_back(RandomDigest(random));
        table.AddNew();
        table.Set("ThreatID", i % 300);
        if (i != 5) {
            table.Set("MD5", digests.back());
        }
        table.Set("OptionalScan", 0);
    }
    table.Update();
    table.Save(Path());
    EXPECT_LT(ReadFile(Path()).size(), static_cast<std::size_t>(count) * 19);

    Recordset loaded;
    loaded.Open(Path());
    const auto md5 = loaded.ReadColumn(1);
    const auto threat = loaded.ReadColumn(0);
    ASSERT_NE(md5->Digest(0), nullptr);
    for (std::int32_t i = 0; i < count; ++i) {
        const auto row = static_cast<std::size_t>(i);
        ASSERT_EQ(md5->IsNull(row), i == 5);
        ASSERT_EQ(threat->Number(row), i % 300);
        if (i != 5) {
            ASSERT_EQ(md5->Text(row), digests[row]);
            ASSERT_EQ(md5->Digest(row)[0], std::stoul(digests[row].substr(0, 2), nullptr, 16));
        }
    }
    EXPECT_TRUE(md5->PackedDigests().empty()) << "one of them is null";
    std::array<std::int32_t, 3> numbers{};
    EXPECT_TRUE(threat->Numbers(299, numbers));
    EXPECT_EQ(numbers, (std::array<std::int32_t, 3>{299, 0, 1}));
    loaded.SetFilter("MD5='" + digests[777] + "'");
    EXPECT_EQ(loaded.Get("ThreatID"), Value(777 % 300));

    // A write goes to memory of the table's own.
    loaded.Set("OptionalScan", 3);
    loaded.AddNew();
    loaded.Set("MD5", std::string("no digest"));
    loaded.SetFilter("OptionalScan=3");
    EXPECT_EQ(loaded.RecordCount(), 1);
    EXPECT_EQ(loaded.Get("MD5"), Value(digests[777]));
    loaded.Save(Folder() + "changed.sdb");
    Recordset changed;
    changed.Open(Folder() + "changed.sdb");
    EXPECT_EQ(changed.RecordCount(), count + 1);
    changed.MoveLast();
    EXPECT_EQ(changed.Get("MD5"), Value(std::string("no digest")));
    EXPECT_EQ(changed.ReadColumn(1)->Digest(0), nullptr);
    EXPECT_TRUE(changed.ReadColumn(1)->IsNull(5));
}

TEST_F(TableFiles, DigestsWithoutNullsCanBeReadAsABlockAndLetGo) {
    constexpr std::int32_t Many = 70'000;  // a file that stays mapped
    {
        Recordset table;
        table.AppendField("ThreatID", FieldType::Integer);
        table.AppendField("MD5", FieldType::VarChar, 32);
        table.Open();
        for (std::int32_t i = 0; i < Many; ++i) {
            std::string digest = std::to_string(i);
            digest.resize(32, 'a');
            table.AddNew();
            table.Set("ThreatID", i);
            table.Set("MD5", digest);
        }
        table.Update();
        table.Save(Path());
    }
    Recordset loaded;
    loaded.Open(Path());
    const auto md5 = loaded.ReadColumn(1);
    const auto packed = md5->PackedDigests();
    ASSERT_EQ(packed.size(), std::size_t{Many} * 16);
    for (int round = 0; round < 2; ++round) {
        for (const std::size_t row : {std::size_t{0}, std::size_t{31'337}, std::size_t{Many - 1}}) {
            EXPECT_EQ(packed.data() + row * 16, md5->Digest(row));
            EXPECT_EQ(md5->Text(row).substr(0, 6), (std::to_string(row) + "aaaaaa").substr(0, 6));
        }
        md5->LetGo(packed);
    }
    loaded.Delete();
    EXPECT_TRUE(loaded.ReadColumn(1)->PackedDigests().empty()) << "the rows that are left are not one behind the other";
}

class OrderedDigests : public TableFiles {
protected:
    static constexpr std::int32_t Many = 70'000;  // a file that is looked up in place

    // Digests of random texts, with the row's number and a level for each.
    static void Fill(Recordset& table, std::int32_t count) {
        std::mt19937 random(7);
        table.AppendField("ThreatID", FieldType::Integer);
        table.AppendField("MD5", FieldType::VarChar, 32);
        table.AppendField("OptionalScan", FieldType::SmallInt);
        table.Open();
        for (std::int32_t i = 0; i < count; ++i) {
            table.AddNew();
            table.Set("ThreatID", i);
            table.Set("MD5", RandomDigest(random));
            table.Set("OptionalScan", i % 3);
        }
        table.Update();
    }
    static std::string TextAt(const Recordset& table, std::size_t row) {
        return std::string(table.ReadColumn(1)->Text(row));
    }
};

TEST_F(OrderedDigests, ATableThatWasSavedInOrderIsFoundInPlaceEvenWhenItIsClosed) {
    Recordset table;
    Fill(table, Many);
    table.SaveInOrder(1, Path());
    EXPECT_EQ(table.Get("ThreatID"), Value(Many - 1)) << "saving does not move";

    Recordset loaded;
    loaded.Open(Path());
    ASSERT_EQ(loaded.RowCount(), static_cast<std::size_t>(Many));
    std::vector<Digest> digests;
    std::vector<std::int32_t> numbers;
    {
        const auto md5 = loaded.ReadColumn(1);
        const auto threat = loaded.ReadColumn(0);
        for (std::size_t row = 0; row < loaded.RowCount(); ++row) {
            digests.push_back(Digest::Of(md5->Digest(row)));
            numbers.push_back(threat->Number(row));
            ASSERT_TRUE(row == 0 || ComesBefore(digests[row - 1], digests[row]));
            ASSERT_EQ(md5->Text(row), table.ReadColumn(1)->Text(static_cast<std::size_t>(numbers[row])));
        }
    }
    const auto order = loaded.ReadColumn(1)->Order();
    const auto threats = loaded.ReadColumn(0)->Stored();
    const auto levels = loaded.ReadColumn(2)->Stored();
    ASSERT_TRUE(order && threats && levels);
    EXPECT_FALSE(loaded.ReadColumn(0)->Order()) << "no digests";
    EXPECT_FALSE(loaded.ReadColumn(1)->Stored()) << "no numbers";
    loaded.Close();
    for (std::size_t row = 0; row < digests.size(); ++row) {
        ASSERT_EQ(order->Find(digests[row]), row);
        ASSERT_EQ(threats->At(row), numbers[row]);
        ASSERT_EQ(levels->At(row), numbers[row] % 3);
    }
}

TEST_F(OrderedDigests, ATableInUseCanBeDeletedAndWrittenAnew) {
    Recordset table;
    Fill(table, Many);
    table.SaveInOrder(1, Path());
    Recordset loaded;
    loaded.Open(Path());
    const auto md5 = loaded.ReadColumn(1);
    const Digest digest = Digest::Of(md5->Digest(12'345));
    const auto order = md5->Order();
    ASSERT_TRUE(order);
    EXPECT_EQ(platform::Current().files->Remove(Path()), SysError::Success);
    WriteFile(Path(), "another one");
    EXPECT_EQ(order->Find(digest), 12'345U);
}

TEST_F(OrderedDigests, ChangedTablesAndSmallOnesAndThoseInAnyOrderAreNotLookedUpInPlace) {
    Recordset table;
    Fill(table, Many);
    table.Save(Path());
    table.SaveInOrder(1, Folder() + "ordered.sdb");
    Recordset any;
    any.Open(Path());
    EXPECT_FALSE(any.ReadColumn(1)->Order());
    EXPECT_TRUE(any.ReadColumn(0)->Stored());

    Recordset deleted;
    deleted.Open(Folder() + "ordered.sdb");
    deleted.Delete();
    EXPECT_FALSE(deleted.ReadColumn(1)->Order());
    EXPECT_FALSE(deleted.ReadColumn(0)->Stored());

    Recordset changed;
    changed.Open(Folder() + "ordered.sdb");
    const auto before = changed.ReadColumn(1)->Order();
    const std::string first = TextAt(changed, 0);
    changed.Set("OptionalScan", 9);
    changed.Update();
    EXPECT_FALSE(changed.ReadColumn(1)->Order());
    EXPECT_FALSE(changed.ReadColumn(0)->Stored());
    EXPECT_EQ(TextAt(changed, 0), first);
    EXPECT_NE(before, nullptr);
    // Saved again, in the order that it has, it is what it was but for the change.
    changed.Save(Path().substr(0, Path().size() - 4) + "2.sdb");
    Recordset again;
    again.Open(Path().substr(0, Path().size() - 4) + "2.sdb");
    EXPECT_TRUE(again.ReadColumn(1)->Order());
    EXPECT_EQ(again.Get("OptionalScan"), Value(9));

    Recordset few;
    Fill(few, 500);
    few.SaveInOrder(1, Folder() + "few.sdb");
    Recordset small;
    small.Open(Folder() + "few.sdb");
    EXPECT_FALSE(small.ReadColumn(1)->Order());
    EXPECT_FALSE(small.ReadColumn(0)->Stored());
    EXPECT_LT(TextAt(small, 0), TextAt(small, 1));
}

TEST_F(OrderedDigests, ADamagedLargeTableIsRefusedByItsName) {
    Recordset table;
    Fill(table, Many);
    table.SaveInOrder(1, Path());
    const std::string image = ReadFile(Path());
    for (std::size_t at = 0; at < image.size(); at += image.size() / 37 + 1) {
        std::string damaged = image;
        damaged[at] = static_cast<char>(damaged[at] ^ 1);
        ASSERT_EQ(OpenError(damaged), ErrDamagedTable) << at;
    }
    for (const std::size_t size : {image.size() - 1, image.size() - 8, image.size() / 2, image.size() / 3}) {
        ASSERT_EQ(OpenError(image.substr(0, size)), ErrDamagedTable) << size;
    }
    EXPECT_THAT(ErrorText([&] {
                    Recordset damaged;
                    damaged.Open(Path());
                }),
                HasSubstr("table.sdb"));
    EXPECT_EQ(OpenError(image), 0);
}

// With a right checksum it is a table like any other, only in no order.
TEST_F(OrderedDigests, AForgedOrderIsNone) {
    Recordset table;
    Fill(table, Many);
    table.SaveInOrder(1, Path());
    std::string image = ReadFile(Path());
    const std::size_t last = image.size() - 100'000 - (image.size() - 100'000) % 16;
    std::fill_n(image.begin() + static_cast<std::ptrdiff_t>(last / 2), 16, '\0');
    ForgeChecksum(image);
    ASSERT_EQ(OpenError(image), 0);
    Recordset forged;
    forged.Open(Path());
    EXPECT_FALSE(forged.ReadColumn(1)->Order());
    EXPECT_FALSE(forged.ReadColumn(1)->PackedDigests().empty());
}

TEST_F(OrderedDigests, SavingInOrderPutsNullsFirstAndKeepsTheOrderOfEqualTexts) {
    Recordset table;
    Define(table);
    Add(table, 1, "b");
    Add(table, 2, "a");
    table.AddNew();
    table.Set("ID", 3);
    table.Update();
    Add(table, 4, "b");
    Add(table, 5, "B");
    table.SetFilter("ID=2");
    table.SaveInOrder(1, Path());
    Recordset loaded;
    loaded.Open(Path());
    std::vector<Value> ids;
    for (; !loaded.Eof(); loaded.MoveNext()) {
        ids.push_back(loaded.Get("ID"));
    }
    EXPECT_EQ(ids, (std::vector<Value>{3, 5, 2, 1, 4}));
    EXPECT_EQ(ErrorNumber([&] { table.SaveInOrder(1, Path()); }), ErrFileExists);
    EXPECT_EQ(ErrorNumber([&] { table.SaveInOrder(0, Folder() + "other.sdb"); }), ErrInvalidArgument);
    EXPECT_EQ(ErrorNumber([&] { table.SaveInOrder(9, Folder() + "other.sdb"); }), ErrNotFound);
    EXPECT_EQ(ErrorNumber([&] { table.SaveInOrder(1, ""); }), ErrInvalidArgument);
}

TEST_F(TableFiles, UpperCaseDigestsStayTexts) {
    Recordset table;
    table.AppendField("MD5", FieldType::VarChar, 32);
    table.Open();
    table.AddNew();
    table.Set("MD5", std::string("0123456789ABCDEF0123456789ABCDEF"));
    table.Update();
    table.Save(Path());
    Recordset loaded;
    loaded.Open(Path());
    EXPECT_EQ(loaded.Get("MD5"), Value(std::string("0123456789ABCDEF0123456789ABCDEF")));
}

// Random columns, rows, edits and deletions; the table in memory and the one from the file must agree.
TEST_F(TableFiles, RandomTablesComeBackAsTheyWere) {
    std::mt19937 random(42);
    const FieldType types[] = {FieldType::Integer, FieldType::SmallInt, FieldType::Boolean,
                               FieldType::Date,    FieldType::Numeric,  FieldType::VarChar};
    const std::string accented = platform::Current().text->FromUtf8("\xC3\xBC");
    const auto randomValue = [&](FieldType type, unsigned spread) -> Value {
        if (random() % 6 == 0) {
            return Null{};
        }
        const auto number = static_cast<std::int32_t>(random() >> (spread % 32));
        switch (type) {
            case FieldType::Integer:
                return number;
            case FieldType::SmallInt:
                return static_cast<std::int32_t>(static_cast<std::int16_t>(number));
            case FieldType::Boolean:
                return number % 2 == 0;
            case FieldType::Date:
                return Date{number % 50000 / 4.0};
            case FieldType::Numeric:
                return number / 8.0;
            case FieldType::VarChar:
                break;
        }
        if (spread % 3 == 0) {
            return RandomDigest(random);
        }
        std::string text;
        for (auto length = random() % 12; length > 0; --length) {
            text += spread % 3 == 1 && random() % 9 == 0 ? accented : std::string(1, static_cast<char>(random() % 128));
        }
        return text;
    };
    for (int round = 0; round < 60; ++round) {
        Recordset table;
        std::vector<unsigned> spreads;
        const std::size_t columns = 1 + random() % 8;
        for (std::size_t i = 0; i < columns; ++i) {
            const FieldType type = types[random() % std::size(types)];
            table.AppendField("C" + std::to_string(i), type, 40);
            spreads.push_back(static_cast<unsigned>(random()));
        }
        table.Open();
        for (auto rows = random() % 300; rows > 0; --rows) {
            table.AddNew();
            for (std::size_t i = 0; i < columns; ++i) {
                table.Set(i, randomValue(table.Field(i).type, spreads[i]));
            }
            table.Update();
            if (random() % 5 == 0) {
                const std::size_t i = random() % columns;
                table.Set(i, randomValue(table.Field(i).type, spreads[i]));
                table.Update();
            }
            if (random() % 7 == 0) {
                table.Delete();
            }
        }
        const auto expected = RowsOf(table);
        const std::string path = Folder() + "r" + std::to_string(round) + ".sdb";
        table.Save(path);
        Recordset loaded;
        loaded.Open(path);
        ASSERT_EQ(RowsOf(loaded), expected) << "round " << round;
        loaded.Save(path + "2");
        ASSERT_EQ(ReadFile(path), ReadFile(path + "2")) << "round " << round;
    }
}

}  // namespace
}  // namespace kel
