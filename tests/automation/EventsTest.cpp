// Events of a scan and of a clean, heard as a script's host hears them.
#include <gmock/gmock.h>

#include "Late.h"
#include "Sink.h"
#include "automation/Objects.h"
#include "cleaner/CleanerCallback.h"
#include "core/EngineState.h"
#include "engine/Manager.h"
#include "results/Scan.h"
#include "results/ScannerCallback.h"
#include "support/EngineTest.h"
#include "support/ShippedTables.h"

namespace kel::test {
namespace {

using automation::Wrap;
using ::testing::IsEmpty;
using ::testing::SizeIs;

enum : DISPID { StartingLocation = 1, ThreatDetected, ScanAborted, RequestScanAbort };
enum : DISPID { StartThreatClean = 1, FinishedThreatClean, VerboseDetails };

class Events : public EngineTest {
protected:
    Events() {
        ShippedTables tables;
        tables.threats = {{1, "One"}};
        tables.WriteTo(AppFolder());
        Assign(scanner, L"UserDataRootPath", UserFolder());
        Call(scanner, L"InitializeScan");
        MakeFolder(Folder() + "walked");
    }
    // A scan of a folder with some files, tested by their paths.
    Answer Walk(int files) {
        for (int file = 0; file < files; ++file) {
            WriteFile(Folder() + "walked\\" + std::to_string(file) + ".txt", "text");
        }
        Assign(scanner, L"OptScanDepth", 1);
        Assign(scanner, L"DoDriveScan", true);
        Call(scanner, L"AddScanDriveAndPath", Folder() + "walked\\");
        return Call(scanner, L"RunScanEasy");
    }
    [[nodiscard]] ComPtr<IDispatch> Scan() const { return Call(scanner, L"Scan").Object(); }
    [[nodiscard]] ComPtr<IDispatch> Callback() const { return Call(Scan(), L"Callback").Object(); }

    const ComPtr<IDispatch> manager = Wrap(std::make_shared<kel::Manager>()).As<IDispatch>();
    const ComPtr<IDispatch> scanner = Call(manager, L"Scanner").Object();
    Sink sink;
};

TEST_F(Events, NameEachLocationWithTheCountOfItsType) {
    const Subscription subscription(Callback(), __uuidof(__ScannerCallback), &sink);
    ASSERT_EQ(subscription.outcome, S_OK);
    EXPECT_TRUE(Walk(3).IsTrue());
    const std::vector<Event> started = sink.Of(StartingLocation);
    ASSERT_THAT(started, SizeIs(3));
    for (std::size_t place = 0; place < started.size(); ++place) {
        ASSERT_THAT(started[place].arguments, SizeIs(3));
        EXPECT_THAT(started[place].Text(0), ::testing::EndsWith(".txt"));
        EXPECT_EQ(started[place].Number(1), 2);
        EXPECT_EQ(started[place].Number(2), static_cast<LONG>(place) + 1);
    }
    // The question follows each.
    EXPECT_THAT(sink.Of(RequestScanAbort), SizeIs(3));
    EXPECT_EQ(sink.events[1].id, RequestScanAbort);
}

TEST_F(Events, AnAnswerOfTrueEndsTheScan) {
    sink.handler = [&](DISPPARAMS& parameters, DISPID id) {
        if (id == RequestScanAbort && sink.Of(id).size() == 2) {
            *parameters.rgvarg[0].pboolVal = VARIANT_TRUE;
        }
        return S_OK;
    };
    const Subscription subscription(Callback(), __uuidof(__ScannerCallback), &sink);
    const Answer run = Walk(5);
    EXPECT_EQ(run.outcome, S_OK);
    EXPECT_FALSE(run.IsTrue());
    EXPECT_THAT(sink.Of(StartingLocation), SizeIs(2));
}

TEST_F(Events, AbortScanFromInsideAHandlerEndsTheScanAndIsTold) {
    sink.handler = [&](DISPPARAMS&, DISPID id) {
        if (id == StartingLocation && sink.Of(id).size() == 2) {
            Call(scanner, L"AbortScan", "enough");
        }
        return S_OK;
    };
    const Subscription subscription(Callback(), __uuidof(__ScannerCallback), &sink);
    EXPECT_FALSE(Walk(5).IsTrue());
    ASSERT_THAT(sink.Of(ScanAborted), SizeIs(1));
    EXPECT_EQ(sink.Of(ScanAborted)[0].Text(0), "enough");
    EXPECT_EQ(Call(Scan(), L"AbortReason").Text(), "enough");
    EXPECT_EQ(Call(scanner, L"ScannerState").Number(), 9);
    EXPECT_THAT(sink.Of(StartingLocation), SizeIs(2));
}

TEST_F(Events, ADetectionIsNamedWithItsThreatAndCount) {
    const Subscription subscription(Callback(), __uuidof(__ScannerCallback), &sink);
    WriteFile(Folder() + "bad.exe", "MZ");
    Call(Scan(), L"AddDetectedThreatFile", 2, 1, "", Folder() + "bad.exe");
    Call(Scan(), L"AddDetectedThreatFile", 2, 1, "", Folder() + "BAD.EXE");
    const std::vector<Event> detected = sink.Of(ThreatDetected);
    ASSERT_THAT(detected, SizeIs(1));
    EXPECT_EQ(detected[0].Text(0), Folder() + "bad.exe");
    EXPECT_EQ(detected[0].Number(1), 2);
    EXPECT_EQ(detected[0].Number(2), 1);
    EXPECT_EQ(detected[0].Number(3), 1);
}

TEST_F(Events, ASubscriberThatFailsIsDroppedAndTheScanGoesOn) {
    sink.handler = [&](DISPPARAMS&, DISPID) { return HRESULT_FROM_WIN32(RPC_S_CALL_FAILED); };
    Sink other;
    const Subscription subscription(Callback(), __uuidof(__ScannerCallback), &sink);
    const Subscription second(Callback(), __uuidof(__ScannerCallback), &other);
    EXPECT_TRUE(Walk(3).IsTrue());
    EXPECT_THAT(sink.events, SizeIs(1));
    EXPECT_THAT(other.Of(StartingLocation), SizeIs(3));
    EXPECT_EQ(sink.references, 0U);
}

TEST_F(Events, ASubscriberThatLeavesHearsNothingMore) {
    Subscription subscription(Callback(), __uuidof(__ScannerCallback), &sink);
    sink.handler = [&](DISPPARAMS&, DISPID) {
        subscription.End();
        return S_OK;
    };
    EXPECT_TRUE(Walk(3).IsTrue());
    EXPECT_THAT(sink.events, SizeIs(1));
    EXPECT_EQ(sink.references, 0U);
}

TEST_F(Events, ASubscriptionOutlivesTheReferenceToItsSource) {
    DWORD cookie = 0;
    ASSERT_EQ(EventsOf(Callback(), __uuidof(__ScannerCallback))->Advise(&sink, &cookie), S_OK);
    Call(Scan(), L"EventScanAborted", "");
    ASSERT_THAT(sink.Of(ScanAborted), SizeIs(1));
    EXPECT_EQ(Call(Scan(), L"AbortReason").Text(), "User aborted spyware scan");
    EXPECT_EQ(EventsOf(Callback(), __uuidof(__ScannerCallback))->Unadvise(cookie), S_OK);
    EXPECT_EQ(sink.references, 0U);
}

TEST_F(Events, TheNextScanHasASourceOfItsOwn) {
    const ComPtr<IDispatch> before = Callback();
    const Subscription subscription(before, __uuidof(__ScannerCallback), &sink);
    Call(scanner, L"InitializeScan");
    EXPECT_NE(before.Get(), Callback().Get());
    EXPECT_TRUE(Walk(2).IsTrue());
    EXPECT_THAT(sink.events, IsEmpty());
}

TEST_F(Events, AnObjectThatIsLetGoOfInAHandlerFinishesItsCall) {
    auto thing = std::make_shared<kel::Scan>();
    thing->Callback = std::make_shared<kel::ScannerCallback>();
    ComPtr<_Scan> scan = Wrap(thing);
    const Subscription subscription(Wrap(thing->Callback).As<IDispatch>(), __uuidof(__ScannerCallback), &sink);
    thing.reset();
    sink.handler = [&](DISPPARAMS&, DISPID) {
        scan = nullptr;
        return S_OK;
    };
    const Variant reason = Given("gone");
    _Scan* called = scan.Get();
    EXPECT_EQ(called->EventScanAborted(reason.Get().bstrVal), S_OK);
    EXPECT_THAT(sink.events, SizeIs(1));
}

TEST_F(Events, ACallbackMadeByAClientRaisesWhatItIsTold) {
    const ComPtr<IDispatch> callback = Wrap(std::make_shared<kel::ScannerCallback>()).As<IDispatch>();
    const Subscription subscription(callback, __uuidof(__ScannerCallback), &sink);
    sink.handler = [&](DISPPARAMS& parameters, DISPID id) {
        if (id == RequestScanAbort) {
            *parameters.rgvarg[0].pboolVal = VARIANT_TRUE;
        }
        return S_OK;
    };
    Call(callback, L"EventStartingLocation", "C:\\", 5, 42);
    Variant abort = Given(false);
    CallById(callback.Get(), IdOf(callback.Get(), L"EventRequestScanAbort"), DISPATCH_METHOD, {Variable(abort)});
    EXPECT_EQ(abort.Get().boolVal, VARIANT_TRUE);
    ASSERT_THAT(sink.events, SizeIs(2));
    EXPECT_EQ(sink.events[0].Text(0), "C:\\");
    EXPECT_EQ(sink.events[0].Number(2), 42);
    // And a scan that is given it reports through it.
    EXPECT_EQ(CallById(Scan().Get(), IdOf(Scan().Get(), L"Callback"), DISPATCH_PROPERTYPUTREF, {Given(callback).Get()})
                  .outcome,
              S_OK);
    Call(Scan(), L"EventScanAborted", "told");
    EXPECT_THAT(sink.Of(ScanAborted), SizeIs(1));
}

TEST_F(Events, ACleanNamesItsThreatAtTheStartAndTheEnd) {
    WriteFile(Folder() + "bad.txt", "text");
    Call(Scan(), L"AddDetectedThreatFile", 2, 1, "", Folder() + "bad.txt");
    const ComPtr<IDispatch> cleaner = Call(manager, L"Cleaner").Object();
    Call(cleaner, L"InitializeClean", "", Call(Scan(), L"DetectedThreats").Object());
    const Subscription subscription(Call(cleaner, L"Callback").Object(), __uuidof(__CleanerCallback), &sink);
    ASSERT_EQ(subscription.outcome, S_OK);
    Call(cleaner, L"QuarantineThreat", 1, true);
    ASSERT_THAT(sink.Of(StartThreatClean), SizeIs(1));
    EXPECT_EQ(sink.Of(StartThreatClean)[0].Text(0), "One");
    EXPECT_THAT(sink.Of(FinishedThreatClean), SizeIs(1));
    ASSERT_THAT(sink.Of(VerboseDetails), ::testing::Not(IsEmpty()));
    EXPECT_EQ(sink.Of(VerboseDetails)[0].Text(0), "One");
    EXPECT_EQ(sink.Of(VerboseDetails)[0].Text(1), "Disabling driver files...");
}

TEST_F(Events, AScanThatIsBegunInsideAHandlerTakesThePlaceOfTheOneThatRuns) {
    Sink replaced;
    Subscription subscription(Callback(), __uuidof(__ScannerCallback), &replaced);
    bool begun = false;
    replaced.handler = [&](DISPPARAMS&, DISPID id) {
        if (id == StartingLocation && !begun) {
            begun = true;
            EXPECT_TRUE(Call(scanner, L"InitializeScan").IsTrue());
        }
        return S_OK;
    };
    const std::string before = Call(Scan(), L"ScanID").Text();
    EXPECT_EQ(Walk(4).outcome, S_OK);
    // The event that began it ends at its own source; what follows belongs to the new one.
    EXPECT_THAT(replaced.Of(StartingLocation), SizeIs(1));
    EXPECT_THAT(replaced.Of(RequestScanAbort), SizeIs(1));
    EXPECT_NE(Call(Scan(), L"ScanID").Text(), before);
    EXPECT_EQ(Call(scanner, L"ScannerState").Number(), 9);
}

TEST_F(Events, TablesThatAreLoadedAgainInsideAHandlerServeTheScanThatRuns) {
    sink.handler = [&](DISPPARAMS&, DISPID id) {
        if (id == StartingLocation) {
            EXPECT_EQ(Call(scanner, L"ReloadThreatData").outcome, S_OK);
        }
        return S_OK;
    };
    const Subscription subscription(Callback(), __uuidof(__ScannerCallback), &sink);
    EXPECT_TRUE(Walk(3).IsTrue());
    EXPECT_THAT(sink.Of(StartingLocation), SizeIs(3));
}

TEST_F(Events, ACleanBearsThatItsLocationsAreTakenAwayInsideAHandler) {
    const std::vector<std::string> names{"a.txt", "b.txt", "c.txt"};
    for (const std::string& name : names) {
        WriteFile(Folder() + name, "text");
        Call(Scan(), L"AddDetectedThreatFile", 2, 1, "", Folder() + name);
    }
    const ComPtr<IDispatch> detected = Call(Scan(), L"DetectedThreats").Object();
    const ComPtr<IDispatch> files = Call(Call(detected, L"Item", 1).Object(), L"ThreatLocationFiles").Object();
    ASSERT_EQ(Call(files, L"Count").Number(), 3);
    const ComPtr<IDispatch> cleaner = Call(manager, L"Cleaner").Object();
    Call(cleaner, L"InitializeClean", "", detected);
    sink.handler = [&](DISPPARAMS&, DISPID id) {
        const bool named = id == VerboseDetails && sink.events.back().Text(1).find("a.txt") != std::string::npos;
        while (named && Call(files, L"Count").Number() > 0) {
            Call(files, L"Remove", 1);
        }
        return S_OK;
    };
    const Subscription subscription(Call(cleaner, L"Callback").Object(), __uuidof(__CleanerCallback), &sink);
    EXPECT_EQ(Call(cleaner, L"QuarantineThreat", 1, true).outcome, S_OK);
    EXPECT_THAT(sink.Of(FinishedThreatClean), SizeIs(1));
    EXPECT_EQ(Call(files, L"Count").Number(), 0);
    // What was there when the work began is cleaned.
    for (const std::string& name : names) {
        EXPECT_FALSE(Exists(Folder() + name)) << name;
    }
}

TEST_F(Events, AreOfferedBySourcesAlone) {
    EXPECT_FALSE(EventsOf(scanner, __uuidof(__ScannerCallback)));
    EXPECT_FALSE(EventsOf(Callback(), __uuidof(__CleanerCallback)));
    EXPECT_TRUE(EventsOf(Callback(), __uuidof(__ScannerCallback)));
}

}  // namespace
}  // namespace kel::test
