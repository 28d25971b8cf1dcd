// Events across processes, in the middle of the engine's own call.
#include <memory>

#include "ServerTest.h"

namespace kel::test {

class ServerEvents : public ServerTest {
protected:
    static constexpr int Files = 300;

    void SetUp() override {
        ServerTest::SetUp();
        folder = FolderOfFiles(Files);
        scanner = BeginScan();
        ComPtr<_Scan> scan;
        ASSERT_EQ(scanner->get_Scan(scan.Out()), S_OK);
        ASSERT_EQ(scan->get_Callback(callback.Out()), S_OK);
    }
    void TearDown() override {
        scanner = ComPtr<_Scanner>();
        callback = ComPtr<_ScannerCallback>();
        ServerTest::TearDown();
    }
    HRESULT Scan() { return scanner->ScanFolder(Text(folder), VARIANT_FALSE, VARIANT_FALSE); }

    std::string folder;
    ComPtr<_Scanner> scanner;
    ComPtr<_ScannerCallback> callback;
};

TEST_F(ServerEvents, EveryLocationIsNamedInItsTurn) {
    LONG expected = 0;
    LONG polls = 0;
    Handlers handlers;
    handlers.StartingLocation = [&](const std::string& location, LONG type, LONG count) {
        EXPECT_EQ(location.substr(location.size() - 4), ".exe");
        EXPECT_EQ(type, ::ScanTypeFiles);
        EXPECT_EQ(count, ++expected);
        return S_OK;
    };
    handlers.RequestScanAbort = [&](VARIANT_BOOL& abort) {
        EXPECT_EQ(abort, VARIANT_FALSE);
        ++polls;
        return S_OK;
    };
    const Subscription subscription(callback.Get(), std::move(handlers));
    EXPECT_EQ(Scan(), S_OK);
    EXPECT_EQ(expected, Files);
    EXPECT_GE(polls, Files);
}

TEST_F(ServerEvents, TheAnswerToTheRequestEndsTheScan) {
    Handlers handlers;
    int polls = 0;
    handlers.RequestScanAbort = [&](VARIANT_BOOL& abort) {
        if (++polls == 10) {
            abort = VARIANT_TRUE;
        }
        return S_OK;
    };
    const Subscription subscription(callback.Get(), std::move(handlers));
    EXPECT_EQ(Scan(), S_OK);
    EXPECT_EQ(polls, 10);
    EXPECT_LT(ScannedFiles(scanner.Get()), 20);
}

TEST_F(ServerEvents, ASubscriberThatLeftHearsNothing) {
    int heard = 0;
    Handlers handlers;
    handlers.StartingLocation = [&](const std::string&, LONG, LONG) {
        ++heard;
        return S_OK;
    };
    Subscription subscription(callback.Get(), std::move(handlers));
    EXPECT_EQ(subscription.Leave(), S_OK);
    EXPECT_EQ(Scan(), S_OK);
    EXPECT_EQ(heard, 0);
}

TEST_F(ServerEvents, ASubscriberMayLeaveInTheMiddleOfAnEvent) {
    int heard = 0;
    std::unique_ptr<Subscription> subscription;
    Handlers handlers;
    handlers.StartingLocation = [&](const std::string&, LONG, LONG) {
        ++heard;
        subscription->Leave();
        return S_OK;
    };
    subscription = std::make_unique<Subscription>(callback.Get(), std::move(handlers));
    EXPECT_EQ(Scan(), S_OK);
    EXPECT_EQ(heard, 1);
    EXPECT_EQ(ScannedFiles(scanner.Get()), Files);
    EXPECT_EQ(LinesOfErrorLog("A subscriber failed"), 0);
}

TEST_F(ServerEvents, ASubscriberThatFailsIsDroppedAndTheOthersAreCalled) {
    int failing = 0;
    int heard = 0;
    Handlers bad;
    bad.StartingLocation = [&](const std::string&, LONG, LONG) {
        ++failing;
        return E_FAIL;
    };
    Handlers good;
    good.StartingLocation = [&](const std::string&, LONG, LONG) {
        ++heard;
        return S_OK;
    };
    const Subscription first(callback.Get(), std::move(bad));
    const Subscription second(callback.Get(), std::move(good));
    EXPECT_EQ(Scan(), S_OK);
    EXPECT_EQ(failing, 1);
    EXPECT_EQ(heard, Files);
    EXPECT_EQ(LinesOfErrorLog("A subscriber failed"), 1);
}

TEST_F(ServerEvents, ASubscriberWithoutAHandlerIsNotAskedAgain) {
    int unhandled = 0;
    int polls = 0;
    Handlers handlers;
    handlers.StartingLocation = [&](const std::string&, LONG, LONG) {
        ++unhandled;
        return DISP_E_MEMBERNOTFOUND;
    };
    handlers.RequestScanAbort = [&](VARIANT_BOOL&) {
        ++polls;
        return S_OK;
    };
    const Subscription subscription(callback.Get(), std::move(handlers));
    EXPECT_EQ(Scan(), S_OK);
    EXPECT_EQ(unhandled, 1);
    EXPECT_EQ(polls, Files);
    EXPECT_EQ(LinesOfErrorLog("A subscriber failed"), 0);
}

TEST_F(ServerEvents, TheSubscriptionOutlivesTheClientsReference) {
    int heard = 0;
    Handlers handlers;
    handlers.StartingLocation = [&](const std::string&, LONG, LONG) {
        ++heard;
        return S_OK;
    };
    Subscription(callback.Get(), std::move(handlers)).Forget();
    callback = ComPtr<_ScannerCallback>();
    EXPECT_EQ(Scan(), S_OK);
    EXPECT_EQ(heard, Files);
}

TEST_F(ServerEvents, ACallFromInsideAnEventGetsIn) {
    LONG read = -1;
    Handlers handlers;
    handlers.StartingLocation = [&](const std::string&, LONG, LONG count) {
        if (count == 5) {
            read = ScannedFiles(scanner.Get());
        }
        return S_OK;
    };
    const Subscription subscription(callback.Get(), std::move(handlers));
    EXPECT_EQ(Scan(), S_OK);
    EXPECT_EQ(read, 5);
}

TEST_F(ServerEvents, ASecondClientAbortsTheScanFromInsideAnEvent) {
    std::string reason;
    Handlers handlers;
    handlers.StartingLocation = [&](const std::string&, LONG, LONG count) {
        if (count == 5) {
            EXPECT_EQ(Program(ClientCommand("abort-scan")).ExitCode(), 0U);
        }
        return S_OK;
    };
    handlers.ScanAborted = [&](const std::string& told) {
        reason = told;
        return S_OK;
    };
    const Subscription subscription(callback.Get(), std::move(handlers));
    EXPECT_EQ(Scan(), S_OK);
    EXPECT_EQ(reason, "second client");
    EXPECT_LT(ScannedFiles(scanner.Get()), 20);
}

TEST_F(ServerEvents, ASecondClientIsLetInBetweenTwoFiles) {
    constexpr int many = 5000;
    const std::string manyFiles = FolderOfFiles(many);
    SharedEvent ready("kel.ready");
    SharedEvent ended("kel.ended");
    Program second(ClientCommand("abort-running-scan"));
    ASSERT_TRUE(ready.Wait());
    EXPECT_EQ(scanner->ScanFolder(Text(manyFiles), VARIANT_FALSE, VARIANT_FALSE), S_OK);
    ended.Set();
    EXPECT_EQ(second.ExitCode(), 0U);
    EXPECT_LT(ScannedFiles(scanner.Get()), many);
}

TEST_F(ServerEvents, AClientThatDiesInTheMiddleOfACallLeavesTheServerAtWork) {
    SharedEvent inEvent("kel.inevent");
    Program client(ClientCommand("hang-in-event"));
    ASSERT_TRUE(inEvent.Wait());
    const std::vector<DWORD> before = ServerProcesses();
    client.Kill();
    // The scan of the dead client goes on to its end.
    const auto other = Create<_Manager>(__uuidof(::Manager));
    ASSERT_TRUE(other);
    const DWORD end = ::GetTickCount() + 60000;
    while (ScannedFiles(scanner.Get()) < Files && ::GetTickCount() < end) {
    }
    EXPECT_EQ(ScannedFiles(scanner.Get()), Files);
    EXPECT_EQ(LinesOfErrorLog("A subscriber failed"), 1);
    EXPECT_EQ(ServerProcesses(), before);
    EXPECT_EQ(ScannedFiles(BeginScan().Get()), 0);
}

TEST_F(ServerEvents, SourcesNameTheirEventInterface) {
    const auto provider = callback.As<IProvideClassInfo2>();
    ASSERT_TRUE(provider);
    GUID id{};
    EXPECT_EQ(provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &id), S_OK);
    EXPECT_EQ(id, __uuidof(__ScannerCallback));
}

}  // namespace kel::test
