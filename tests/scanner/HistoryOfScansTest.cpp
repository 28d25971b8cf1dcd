// What a scan leaves in the history.
#include <gmock/gmock.h>

#include "core/Recordset.h"
#include "results/ScanHistory.h"
#include "support/ScanTest.h"

namespace kel::test {
namespace {

using ::testing::IsEmpty;

class HistoryOfScans : public ScanTest {
protected:
    ScanHistory history;
};

TEST_F(HistoryOfScans, AScanIsWrittenWhenThatIsAskedFor) {
    Begin();
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_EQ(history.TotalScansRun(), 0);
    scanner.SetoptWriteHistory(true);
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_EQ(history.TotalScansRun(), 1);
    EXPECT_EQ(history.GetLastScanID(), scanner.Scan()->ScanID);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(HistoryOfScans, AnAbortedScanIsWrittenToo) {
    tables.threats = {{7, "Seven"}};
    tables.md5 = {{7, HashOf(Bytes(2000, 'a'))}};
    MakeFolder(Folder() + "walk");
    WriteFile(Folder() + "walk\\1.exe", Bytes(2000, 'a'));
    WriteFile(Folder() + "walk\\2.exe", Bytes(2000, 'a'));
    Begin();
    scanner.SetoptWriteHistory(true);
    scanner.DoDriveScan = true;
    scanner.OptScanDepth = scanmedium;
    scanner.AddScanDriveAndPath(Folder() + "walk");
    abortAtPoll = 2;
    EXPECT_FALSE(scanner.RunScanEasy());
    const auto detail = history.GetLastScanHistoryDetail();
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->ScanID, scanner.Scan()->ScanID);
    EXPECT_EQ(detail->EndDate, scanner.Scan()->EndDate);
    EXPECT_EQ(detail->ScannedFileCount, scanner.Scan()->ScannedFileCount);
    EXPECT_GT(detail->ScannedFileCount, 0);
}

TEST_F(HistoryOfScans, ItHoldsWhatWasDetected) {
    tables.threats = {{7, "Seven"}};
    tables.md5 = {{7, HashOf(Bytes(2000, 'a'))}};
    MakeFolder(Folder() + "walk");
    const std::string path = Folder() + "walk\\1.exe";
    WriteFile(path, Bytes(2000, 'a'));
    Begin();
    scanner.SetoptWriteHistory(true);
    scanner.IsScheduledScan = true;
    scanner.DoDriveScan = true;
    scanner.OptScanDepth = scanmedium;
    scanner.AddScanDriveAndPath(Folder() + "walk");
    EXPECT_TRUE(scanner.RunScanEasy());
    const auto detail = history.GetScanHistoryDetail(scanner.Scan()->ScanID);
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->GetTotalDetectedLocationsCount(), 1);
    ASSERT_EQ(detail->DetectedThreats->RecordCount(), 1);
    EXPECT_EQ(ToText(detail->DetectedThreats->Get("Name")), "Seven");
    ASSERT_EQ(detail->DetectedFiles->RecordCount(), 1);
    EXPECT_EQ(ToText(detail->DetectedFiles->Get("FoundAt")), path);
    EXPECT_TRUE(ToBoolean(history.GetScanHistoryDetails()->Get("IsScheduledScan")));
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
