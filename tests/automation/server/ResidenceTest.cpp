// One process for all clients, which stays.
#include <memory>

#include "ServerTest.h"

namespace kel::test {

class ServerResidence : public ServerTest {};

TEST_F(ServerResidence, TheFirstRequestStartsTheServer) {
    EXPECT_TRUE(ServerProcesses().empty());
    HRESULT outcome = S_OK;
    EXPECT_TRUE(Create<_Manager>(__uuidof(::Manager), &outcome));
    EXPECT_EQ(outcome, S_OK);
    EXPECT_EQ(ServerProcesses().size(), 1U);
}

TEST_F(ServerResidence, TheSameProcessServesAfterTheLastObjectIsGone) {
    ASSERT_TRUE(Create<_Manager>(__uuidof(::Manager)));
    const std::vector<DWORD> first = ServerProcesses();
    ::CoFreeUnusedLibraries();
    ASSERT_TRUE(Create<_Info>(__uuidof(::Info)));
    EXPECT_EQ(ServerProcesses(), first);
}

TEST_F(ServerResidence, TheFormIsThereAndIsNeverShown) {
    ASSERT_TRUE(Create<_Manager>(__uuidof(::Manager)));
    const HWND form = ::FindWindowA("frmHolder", "Form1");
    ASSERT_NE(form, nullptr);
    EXPECT_FALSE(::IsWindowVisible(form));
}

TEST_F(ServerResidence, ASecondStartByHandEndsAtOnce) {
    ASSERT_TRUE(Create<_Manager>(__uuidof(::Manager)));
    const std::vector<DWORD> first = ServerProcesses();
    EXPECT_EQ(Program(ServerProgram).ExitCode(), 0U);
    EXPECT_EQ(ServerProcesses(), first);
}

TEST_F(ServerResidence, ASecondStartByTheSystemEndsToo) {
    ASSERT_TRUE(Create<_Manager>(__uuidof(::Manager)));
    const std::vector<DWORD> first = ServerProcesses();
    EXPECT_EQ(Program(ServerProgram + " -Embedding").ExitCode(), 0U);
    EXPECT_EQ(ServerProcesses(), first);
}

TEST_F(ServerResidence, WhoClosesTheFormFromOutsideEndsTheProcess) {
    ASSERT_TRUE(Create<_Manager>(__uuidof(::Manager)));
    const windows::KernelHandle process(::OpenProcess(SYNCHRONIZE, FALSE, ServerProcesses().at(0)));
    ::PostMessageA(::FindWindowA("frmHolder", "Form1"), WM_CLOSE, 0, 0);
    EXPECT_EQ(::WaitForSingleObject(process.Get(), 60000), WAIT_OBJECT_0);
    EXPECT_TRUE(Create<_Manager>(__uuidof(::Manager)));
}

TEST_F(ServerResidence, ClientsThatComeTogetherGetOneServer) {
    constexpr std::size_t together = 6;
    std::vector<std::unique_ptr<Program>> clients;
    SharedEvent go("kel.go");
    SharedEvent ready("kel.ready");
    for (std::size_t count = 0; count < together; ++count) {
        clients.push_back(std::make_unique<Program>(ClientCommand("activate")));
    }
    ASSERT_TRUE(ready.Wait());
    go.Set();
    for (const auto& client : clients) {
        EXPECT_EQ(client->ExitCode(), 0U);
    }
    // Those that the system started beside the first one linger and end.
    const DWORD end = ::GetTickCount() + 60000;
    while (ServerProcesses().size() != 1 && ::GetTickCount() < end) {
        ::SwitchToThread();
    }
    EXPECT_EQ(ServerProcesses().size(), 1U);
}

TEST_F(ServerResidence, TwoClientsShareTheState) {
    manager = OpenManager();
    ComPtr<_IgnoredThreats> ignored;
    VARIANT_BOOL answer = VARIANT_FALSE;
    ASSERT_EQ(manager->Inititalize(::LanguageFrench, ::VersionTypeServer, &answer), S_OK);
    ASSERT_EQ(manager->get_IgnoredThreats(ignored.Out()), S_OK);
    EXPECT_EQ(Program(ClientCommand("read-ignored")).ExitCode(), 0U);
    ASSERT_EQ(ignored->AddIgnoredThreat(ThreatOfTables), S_OK);
    EXPECT_EQ(Program(ClientCommand("read-ignored")).ExitCode(), 1U);
}

TEST_F(ServerResidence, TheDataAreThereForTheNextClient) {
    manager = OpenManager();
    manager = ComPtr<_Manager>();
    const auto info = Create<_Info>(__uuidof(::Info));
    ASSERT_TRUE(info);
    TextOut version;
    EXPECT_EQ(info->DBVersionThreatData(version), S_OK);
    EXPECT_EQ(version.Value(), "105");
}

}  // namespace kel::test
