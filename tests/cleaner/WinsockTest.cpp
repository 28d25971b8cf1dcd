// The catalogue of network providers, and its repair.
#include <gmock/gmock.h>

#include <algorithm>

#include "Items.h"
#include "RemovalTest.h"
#include "WinsockEntries.h"
#include "cleaner/WinsockCatalogue.h"
#include "decorators/ForwardingRegistry.h"

namespace kel::test {
namespace {

using modCleanerHelper::GetAllLSPCatalogEntries;
using modCleanerHelper::GetLSPCatalogEntries;
using platform::HiveLocalMachine;
using platform::ValueType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::string_view Current = R"(SYSTEM\CurrentControlSet\Services\WinSock2\Parameters\Protocol_Catalog9)";

class Winsock : public RemovalTest {
protected:
    // Twelve entries; each has a provider of its own but for those in `bad`.
    void AddTwelve(const std::vector<int>& bad) {
        for (int number = 1; number <= 12; ++number) {
            const bool isBad = std::find(bad.begin(), bad.end(), number) != bad.end();
            Add(EntryName(number), CatalogItem(isBad ? Bad : Provider(number), number));
        }
        SetCount(12);
    }
    void Add(const std::string& name, const std::string& item) {
        Stage().AddValue(HiveLocalMachine, KeyOf(name), "PackedCatalogItem", {ValueType::Binary, item});
    }
    void SetCount(char count) {
        Stage().AddValue(HiveLocalMachine, Current, "Num_Catalog_Entries",
                         {ValueType::Dword, std::string{count, '\0', '\0', '\0'}});
    }
    static std::string KeyOf(const std::string& name) { return std::string(Current) + "\\Catalog_Entries\\" + name; }
    static std::string Provider(int number) { return "C:\\good\\provider" + std::to_string(number) + ".dll"; }

    [[nodiscard]] int Count() {
        auto open = Stage().View().registry->Open(HiveLocalMachine, Current);
        const auto value = (*open)->Query("Num_Catalog_Entries");
        EXPECT_TRUE(value.Ok() && value->type == ValueType::Dword && value->data.size() == 4);
        return value.Ok() ? value->data[0] : -1;
    }
    // Bytes of an entry; "absent" when it is not there.
    [[nodiscard]] std::string Item(int number) {
        auto open = Stage().View().registry->Open(HiveLocalMachine, KeyOf(EntryName(number)));
        if (!open) {
            return "absent";
        }
        const auto value = (*open)->Query("PackedCatalogItem");
        EXPECT_TRUE(value.Ok() && value->type == ValueType::Binary);
        return value.Ok() ? value->data : "no item";
    }
    [[nodiscard]] std::vector<std::string> Catalogue() {
        std::vector<std::string> items;
        for (int number = 1; number <= 20; ++number) {
            items.push_back(Item(number));
        }
        return items;
    }
    enCleanerErrors Remove(std::string_view path) { return CleanerPeer::RemoveProvider(cleaner, path); }

    const std::string Bad = "C:\\Bad Things\\lsp.dll";
};

TEST_F(Winsock, AFileThatNoEntryNamesLeavesTheCatalogueAsItIs) {
    AddTwelve({});
    SetCount(99);
    const auto before = Catalogue();
    EXPECT_EQ(Remove(Bad), errNone);
    EXPECT_EQ(Remove(""), errNone);
    EXPECT_EQ(Catalogue(), before);
    EXPECT_EQ(Count(), 99) << "not even the number is mended";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Winsock, AMachineWithoutACatalogueIsNoFailure) {
    EXPECT_EQ(Remove(Bad), errNone);
    EXPECT_THAT(Items(GetLSPCatalogEntries(Bad, "")), IsEmpty());
    EXPECT_THAT(Items(GetAllLSPCatalogEntries("")), IsEmpty());
    EXPECT_FALSE(KeyExists(HiveLocalMachine, Current));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Winsock, RemovingTheLastEntryMovesNothing) {
    AddTwelve({12});
    Stage().AddText(HiveLocalMachine, KeyOf(EntryName(11)), "other", "stays where nothing moves");
    auto wanted = Catalogue();
    wanted[11] = "absent";
    EXPECT_EQ(Remove(Bad), errLSPRemovedSuccess);
    EXPECT_EQ(Catalogue(), wanted);
    EXPECT_EQ(Count(), 11);
    EXPECT_EQ(Data(HiveLocalMachine, KeyOf(EntryName(11)), "other"), "stays where nothing moves");
}

TEST_F(Winsock, OfTwelveWithoutTheFourthTheRestMoveDown) {
    AddTwelve({4});
    auto wanted = Catalogue();
    wanted.erase(wanted.begin() + 3);
    wanted.push_back("absent");
    EXPECT_EQ(Remove(Bad), errLSPRemovedSuccess);
    EXPECT_EQ(Catalogue(), wanted);
    EXPECT_EQ(Count(), 11);
    EXPECT_THAT(Items(GetAllLSPCatalogEntries("")), SizeIs(11));
    EXPECT_EQ(Items(GetAllLSPCatalogEntries("CurrentControlSet")).back(), "000000000011");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Winsock, SeveralEntriesOfOneProviderGoAtOnce) {
    AddTwelve({1, 2, 7, 12});
    auto wanted = Catalogue();
    wanted = {wanted[2], wanted[3], wanted[4], wanted[5], wanted[7], wanted[8], wanted[9], wanted[10]};
    wanted.resize(20, "absent");
    EXPECT_THAT(Items(GetLSPCatalogEntries(Bad, "")),
                ElementsAre("000000000001", "000000000002", "000000000007", "000000000012"));
    EXPECT_EQ(Remove(Bad), errLSPRemovedSuccess);
    EXPECT_EQ(Catalogue(), wanted);
    EXPECT_EQ(Count(), 8);
}

TEST_F(Winsock, TheOnlyEntryLeavesAnEmptyCatalogue) {
    Add(EntryName(1), CatalogItem(Bad, 1));
    SetCount(1);
    EXPECT_EQ(Remove(Bad), errLSPRemovedSuccess);
    EXPECT_THAT(Items(GetAllLSPCatalogEntries("")), IsEmpty());
    EXPECT_EQ(Count(), 0);
    EXPECT_TRUE(KeyExists(HiveLocalMachine, std::string(Current) + "\\Catalog_Entries"));
}

TEST_F(Winsock, AVariableInThePathIsExpanded) {
    AddTwelve({});
    Add(EntryName(3), CatalogItem("%SystemRoot%\\system32\\lsp.dll", 3));
    EXPECT_THAT(Items(GetLSPCatalogEntries(System() + "lsp.dll", "")), ElementsAre("000000000003"));
    EXPECT_EQ(Remove(System() + "lsp.dll"), errLSPRemovedSuccess);
    EXPECT_EQ(Count(), 11);
}

TEST_F(Winsock, LetterCaseDoesNotCount) {
    AddTwelve({5});
    EXPECT_EQ(Remove("c:\\BAD things\\LSP.DLL"), errLSPRemovedSuccess);
    EXPECT_EQ(Count(), 11);
}

TEST_F(Winsock, AnEntryWithoutAnEndOfItsPathNamesNothing) {
    Add(EntryName(1), Bad);
    Stage().AddText(HiveLocalMachine, KeyOf(EntryName(2)), "PackedCatalogItem", Bad);
    Stage().AddKey(HiveLocalMachine, KeyOf(EntryName(3)));
    Add(EntryName(4), "");
    Add(EntryName(5), std::string(8, '\0'));
    EXPECT_THAT(Items(GetLSPCatalogEntries(Bad, "")), IsEmpty());
    EXPECT_THAT(Items(GetLSPCatalogEntries("", "")), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Winsock, KeysThatAreNoNumbersStayAndDoNotCount) {
    AddTwelve({12});
    Add("notes", CatalogItem("C:\\good\\x.dll", 1));
    Add("13", CatalogItem("C:\\good\\x.dll", 1));
    EXPECT_EQ(Remove(Bad), errLSPRemovedSuccess);
    EXPECT_EQ(Count(), 11);
    EXPECT_TRUE(KeyExists(HiveLocalMachine, KeyOf("notes")));
    EXPECT_TRUE(KeyExists(HiveLocalMachine, KeyOf("13")));
}

TEST_F(Winsock, AnEntryThatMovesKeepsItsItemAlone) {
    AddTwelve({1});
    Stage().AddText(HiveLocalMachine, KeyOf(EntryName(2)), "other", "lost");
    Stage().AddKey(HiveLocalMachine, KeyOf(EntryName(2)) + "\\Below\\Deep");
    EXPECT_EQ(Remove(Bad), errLSPRemovedSuccess);
    EXPECT_EQ(Item(1), CatalogItem(Provider(2), 2));
    EXPECT_EQ(Data(HiveLocalMachine, KeyOf(EntryName(1)), "other"), "absent");
    EXPECT_FALSE(KeyExists(HiveLocalMachine, KeyOf(EntryName(1)) + "\\Below"));
    EXPECT_FALSE(KeyExists(HiveLocalMachine, KeyOf(EntryName(12))));
}

TEST_F(Winsock, ABarBecomesAZeroAndBlanksAtTheEndsAreLostOnTheWay) {
    Add(EntryName(1), CatalogItem(Bad, 1));
    Add(EntryName(2), "  C:\\good.dll" + std::string(1, '\0') + "a|b\xfe" + std::string(2, ' '));
    SetCount(2);
    EXPECT_EQ(Remove(Bad), errLSPRemovedSuccess);
    EXPECT_EQ(Item(1), "C:\\good.dll" + std::string(1, '\0') + "a" + std::string(1, '\0') + "b\xfe");
    EXPECT_EQ(Count(), 1);
}

TEST_F(Winsock, AnotherControlSetIsAnotherCatalogue) {
    AddTwelve({4});
    EXPECT_EQ(CleanerPeer::RemoveProvider(cleaner, Bad, "ControlSet002"), errNone);
    EXPECT_EQ(Count(), 12);
    EXPECT_EQ(CleanerPeer::RemoveProvider(cleaner, Bad, ""), errLSPRemovedSuccess);
    EXPECT_EQ(Count(), 11);
}

// Lets no entry of one name be made.
class RefusingRegistry : public decorators::ForwardingRegistry {
public:
    using ForwardingRegistry::ForwardingRegistry;
    std::string refused;
    platform::Result<std::unique_ptr<platform::RegistryKey>> Create(platform::Hive hive,
                                                                    std::string_view key) override {
        if (key.ends_with(refused)) {
            return platform::SysError::AccessDenied;
        }
        return Inner().Create(hive, key);
    }
};

TEST_F(Winsock, AFailureInBetweenLeavesAGapAndTheOldNumber) {
    AddTwelve({4});
    const auto before = Catalogue();
    platform::Platform machine = Staged();
    RefusingRegistry registry(*machine.registry);
    registry.refused = EntryName(6);
    machine.registry = &registry;
    Install(machine);
    EXPECT_EQ(Remove(Bad), errNone) << "the result does not tell that anything changed";
    Install(Staged());
    EXPECT_EQ(Item(4), before[4]);
    EXPECT_EQ(Item(5), before[5]);
    EXPECT_EQ(Item(6), "absent");
    EXPECT_EQ(Item(7), before[6]) << "the entry that could not move is where it was";
    EXPECT_EQ(Item(12), before[11]);
    EXPECT_EQ(Count(), 12);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "Cleaner");
    EXPECT_EQ(Reported()[0].procedure, "HelperRemoveLSPByControlSet");
}

}  // namespace
}  // namespace kel::test
