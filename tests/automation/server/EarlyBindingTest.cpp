// Calls through the method tables, as compiled clients make them.
#include "ServerTest.h"

namespace kel::test {

class ServerEarlyBinding : public ServerTest {};

TEST_F(ServerEarlyBinding, OpeningStoresWhatTheClientNamesAndAnswersFalse) {
    manager = OpenManager();
    VARIANT_BOOL answer = VARIANT_TRUE;
    EXPECT_EQ(manager->Inititalize(::LanguageSpanish, ::VersionTypeServer, &answer), S_OK);
    EXPECT_EQ(answer, VARIANT_FALSE);
    ::enLanguages language{};
    ::enVersionType version{};
    EXPECT_EQ(manager->get_CurrentLanguage(&language), S_OK);
    EXPECT_EQ(manager->get_CurrentVersionType(&version), S_OK);
    EXPECT_EQ(language, ::LanguageSpanish);
    EXPECT_EQ(version, ::VersionTypeServer);
    EXPECT_EQ(manager->UnInititalize(&answer), S_OK);
    EXPECT_EQ(answer, VARIANT_FALSE);
}

TEST_F(ServerEarlyBinding, TheScannerIsOneObjectAndTheThreatsAreTwo) {
    manager = OpenManager();
    ComPtr<_Scanner> scanners[2];
    ComPtr<_Threats> threats[2];
    for (int read = 0; read < 2; ++read) {
        EXPECT_EQ(manager->get_Scanner(scanners[read].Out()), S_OK);
        EXPECT_EQ(manager->get_Threats(threats[read].Out()), S_OK);
    }
    EXPECT_EQ(scanners[0].As<IUnknown>().Get(), scanners[1].As<IUnknown>().Get());
    EXPECT_NE(threats[0].As<IUnknown>().Get(), threats[1].As<IUnknown>().Get());
}

TEST_F(ServerEarlyBinding, AnyNumberThatIsNotZeroIsTrue) {
    manager = OpenManager();
    ComPtr<_Scanner> scanner;
    ASSERT_EQ(manager->get_Scanner(scanner.Out()), S_OK);
    VARIANT_BOOL read = 5;
    EXPECT_EQ(scanner->put_DoScanZips(1), S_OK);
    EXPECT_EQ(scanner->get_DoScanZips(&read), S_OK);
    EXPECT_EQ(read, VARIANT_TRUE);
    EXPECT_EQ(scanner->put_DoScanZips(0), S_OK);
    EXPECT_EQ(scanner->get_DoScanZips(&read), S_OK);
    EXPECT_EQ(read, VARIANT_FALSE);
}

TEST_F(ServerEarlyBinding, APathGetsItsBackslashAndTheLogsGoThere) {
    manager = OpenManager();
    ComPtr<_Scanner> scanner;
    ASSERT_EQ(manager->get_Scanner(scanner.Out()), S_OK);
    EXPECT_EQ(scanner->put_UserDataRootPath(Text("C:\\kelServerData")), S_OK);
    TextOut path;
    EXPECT_EQ(scanner->get_UserDataRootPath(path), S_OK);
    EXPECT_EQ(path.Value(), "C:\\kelServerData\\");
}

TEST_F(ServerEarlyBinding, AnObjectThatAClientMadeIsTakenAndGivenBack) {
    ComPtr<_Scanner> scanner = BeginScan();
    ComPtr<_Scan> scan;
    ASSERT_EQ(scanner->get_Scan(scan.Out()), S_OK);
    const auto callback = Create<_ScannerCallback>(__uuidof(::ScannerCallback));
    ASSERT_TRUE(callback);
    EXPECT_EQ(scan->putref_Callback(callback.Get()), S_OK);
    ComPtr<_ScannerCallback> read;
    EXPECT_EQ(scan->get_Callback(read.Out()), S_OK);
    EXPECT_EQ(read.As<IUnknown>().Get(), callback.As<IUnknown>().Get());
    EXPECT_EQ(scan->putref_Callback(nullptr), S_OK);
    EXPECT_EQ(scan->get_Callback(read.Out()), S_OK);
    EXPECT_FALSE(read);
}

TEST_F(ServerEarlyBinding, ADetectionIsReadToItsLastField) {
    ComPtr<_Scanner> scanner = BeginScan();
    ::CreateDirectoryA("C:\\kelServerFiles", nullptr);
    windows::FileHandle(
        ::CreateFileA(PathOfThreat.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_EQ(scanner->ScanFolder(Text("C:\\kelServerFiles\\"), VARIANT_TRUE, VARIANT_FALSE), S_OK);
    ComPtr<_Scan> scan;
    ComPtr<_Collection> threats;
    LONG count = 0;
    ASSERT_EQ(scanner->get_Scan(scan.Out()), S_OK);
    ASSERT_EQ(scan->get_DetectedThreats(threats.Out()), S_OK);
    ASSERT_EQ(threats->get_Count(&count), S_OK);
    ASSERT_EQ(count, 1);
    Variant item;
    ASSERT_EQ(threats->get_Item(Variant("threatid:7").Get(), item.Out()), S_OK);
    ASSERT_EQ(item.Get().vt, VT_DISPATCH);
    const auto threat = ComPtr<IDispatch>(item.Get().pdispVal).As<_DetectedThreat>();
    LONG number = 0;
    EXPECT_EQ(threat->get_ThreatID(&number), S_OK);
    EXPECT_EQ(number, ThreatOfTables);
    ComPtr<_Collection> files;
    ASSERT_EQ(threat->get_ThreatLocationFiles(files.Out()), S_OK);
    ASSERT_EQ(files->get_Item(Variant(1).Get(), item.Out()), S_OK);
    const auto file = ComPtr<IDispatch>(item.Get().pdispVal).As<_ThreatLocationFile>();
    TextOut path;
    EXPECT_EQ(file->get_DetectedFilePath(path), S_OK);
    EXPECT_EQ(path.Value(), PathOfThreat);
    EXPECT_TRUE(FAILED(files->get_Item(Variant(2).Get(), item.Out())));
}

TEST_F(ServerEarlyBinding, AThreatThatIsNotThereIsAFailingCall) {
    ComPtr<_Scanner> scanner = BeginScan();
    ComPtr<_Scan> scan;
    ASSERT_EQ(scanner->get_Scan(scan.Out()), S_OK);
    Variant answer;
    EXPECT_TRUE(FAILED(scan->get_GetDetectedThreat(1, answer.Out())));
}

TEST_F(ServerEarlyBinding, ATableOfTheHistoryIsWalkedAcrossProcesses) {
    manager = OpenManager();
    ComPtr<_ScanHistory> history;
    ComPtr<_Recordset> table;
    ComPtr<_Fields> fields;
    ASSERT_EQ(manager->get_ScanHistory(history.Out()), S_OK);
    ASSERT_EQ(history->GetScanHistoryDetails(table.Out()), S_OK);
    VARIANT_BOOL end = VARIANT_FALSE;
    EXPECT_EQ(table->get_EOF(&end), S_OK);
    EXPECT_EQ(end, VARIANT_TRUE);
    EXPECT_EQ(table->put_Filter(Variant("").Get()), S_OK);
    LONG count = 0;
    EXPECT_EQ(table->get_RecordCount(&count), S_OK);
    EXPECT_EQ(count, 1);
    ASSERT_EQ(table->get_Fields(fields.Out()), S_OK);
    EXPECT_EQ(fields->get_Count(&count), S_OK);
    EXPECT_EQ(count, 13);
    ComPtr<_Field> field;
    Variant value;
    ASSERT_EQ(fields->get_Item(Variant("scanid").Get(), field.Out()), S_OK);
    EXPECT_EQ(field->get_Value(value.Out()), S_OK);
    EXPECT_EQ(FromBstr(value.Get().bstrVal), "Totals");
    EXPECT_EQ(table->MoveNext(), S_OK);
    // The numbers of the service: no current row, no such column.
    EXPECT_EQ(field->get_Value(value.Out()), static_cast<HRESULT>(0x800A0BCD));
    EXPECT_EQ(fields->get_Item(Variant("None").Get(), field.Out()), static_cast<HRESULT>(0x800A0CC1));
}

}  // namespace kel::test
