// What the kernel is asked for early: taken or not, done or not, it leaves nothing behind.
#include "offline/KernelQueue.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <liburing.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/OpenDescriptors.h"

namespace kel::offline {
namespace {

using test::OpenDescriptors;

constexpr unsigned AtMost = 128;

// What the faulty calls do; the calls have no object.
struct Faults {
    int setUp = 0;          // error number of the first so many...
    int setUpFailures = 0;  // ...calls
    unsigned features = ~0U;
    int submit = 0;  // error number
    int submitFailures = 0;
    bool oneAtATime = false;
    bool forgets = false;  // says that it took them
    int setUps = 0;
    int submits = 0;
    unsigned flags = 0;
    int untold = 0;  // of those that were taken together
};
Faults faults;

int SetUp(unsigned entries, io_uring* ring, io_uring_params* params) {
    if (faults.setUps++ < faults.setUpFailures) {
        return -faults.setUp;
    }
    faults.flags = params->flags;
    const int error = KernelQueue::HostCalls().setUp(entries, ring, params);
    params->features &= faults.features;
    return error;
}

int Submit(io_uring* ring) {
    if (faults.submits++ < faults.submitFailures) {
        return -faults.submit;
    }
    if (faults.forgets) {
        return 1;
    }
    if (!faults.oneAtATime) {
        return KernelQueue::HostCalls().submit(ring);
    }
    if (faults.untold == 0) {
        faults.untold = KernelQueue::HostCalls().submit(ring);
    }
    --faults.untold;
    return 1;
}

int Wait(io_uring* ring, io_uring_cqe** answer) {
    return faults.forgets ? -ENOMEM : KernelQueue::HostCalls().wait(ring, answer);
}

constexpr KernelQueue::Calls Faulty = {SetUp, Submit, Wait};

class AskingTheKernel : public ::testing::Test {
protected:
    AskingTheKernel() {
        faults = {};
        std::string name = (std::filesystem::temp_directory_path() / "kel-queue-XXXXXX").string();
        folder = mkdtemp(name.data());
        std::ofstream(folder / "file") << std::string(100'000, 'x');
        std::filesystem::create_directory(folder / "sub");
        std::filesystem::create_directory_symlink("sub", folder / "link");
    }
    ~AskingTheKernel() override { std::filesystem::remove_all(folder); }

    // False where this machine grants no such queue, as in some containers.
    static bool Granted() {
        io_uring_params params{};
        int error = 0;
        return MakeKernelRing(1, params, 0, error, KernelQueue::HostCalls().setUp) != nullptr;
    }
    HostFd File() const { return HostFd(open((folder / "file").c_str(), O_RDONLY | O_CLOEXEC)); }
    HostFd Parent() const { return HostFd(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)); }
    static bool IsOpen(int fd) { return fcntl(fd, F_GETFD) >= 0; }
    // Asks for as many files, each closed at once.
    int AskAndClose(KernelQueue& queue, int files) const {
        int taken = 0;
        for (int i = 0; i < files; ++i) {
            HostFd file = File();
            const auto request = queue.AskForFile(file.Get());
            taken += request != 0 ? 1 : 0;
            queue.Close(request, std::move(file));
        }
        return taken;
    }

    std::filesystem::path folder;
};

TEST_F(AskingTheKernel, FilesAndFoldersAreAskedForAndNothingStaysOpen) {
    const auto before = OpenDescriptors();
    {
        KernelQueue queue;
        const HostFd parent = Parent();
        int taken = 0;
        for (int i = 0; i < 50; ++i) {
            queue.AskForFolder(parent.Get(), "sub");
            taken += AskAndClose(queue, 40);
        }
        EXPECT_EQ(taken > 0, Granted());
        EXPECT_LE(queue.Outstanding(), AtMost);
        EXPECT_LE(OpenDescriptors(), before + 2 + 2 + AtMost);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(AskingTheKernel, FoldersThatAreNotThereAreLinksOrHoldTheNameThatIsLookedForLeaveNothingOpen) {
    std::ofstream(folder / "sub" / "\x01") << "somebody's";
    const auto before = OpenDescriptors();
    {
        KernelQueue queue;
        const HostFd parent = Parent();
        for (const char* name : {"none", "file", "link", "sub", "..", "", "sub"}) {
            queue.AskForFolder(parent.Get(), name);
        }
        queue.AskForFolder(-1, "sub");
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(AskingTheKernel, ARequestForAClosedDescriptorFailsInSilence) {
    KernelQueue queue;
    for (int i = 0; i < 100; ++i) {
        queue.Close(queue.AskForFile(-1), HostFd());
    }
    EXPECT_EQ(AskAndClose(queue, 10), Granted() ? 10 : 0);
}

TEST_F(AskingTheKernel, WithoutAQueueNothingIsTaken) {
    for (const int error : {ENOSYS, EPERM, EMFILE, ENOMEM}) {
        faults = {};
        faults.setUp = error;
        faults.setUpFailures = 10;
        KernelQueue queue(Faulty);
        EXPECT_EQ(AskAndClose(queue, 40), 0);
        queue.AskForFolder(Parent().Get(), "sub");
        queue.Begin(1);
        EXPECT_EQ(queue.Outstanding(), 0U);
        EXPECT_EQ(faults.submits, 0);
    }
}

TEST_F(AskingTheKernel, AnOlderKernelIsAskedAgainWithoutWhatItDoesNotKnow) {
    faults.setUp = EINVAL;
    faults.setUpFailures = 1;
    KernelQueue queue(Faulty);
    EXPECT_EQ(faults.setUps, 2);
    EXPECT_EQ(faults.flags, 0U);
    EXPECT_EQ(AskAndClose(queue, 5), Granted() ? 5 : 0);
}

TEST_F(AskingTheKernel, AKernelThatIsTooOldIsNotAsked) {
    faults.features = 0;
    const auto before = OpenDescriptors();
    KernelQueue queue(Faulty);
    EXPECT_EQ(AskAndClose(queue, 40), 0);
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(AskingTheKernel, AKernelThatRefusesIsNotAskedAgain) {
    for (const int error : {EAGAIN, EBUSY, EBADF, ENOMEM}) {
        faults = {};
        faults.submit = error;
        faults.submitFailures = 1000;
        const auto before = OpenDescriptors();
        KernelQueue queue(Faulty);
        EXPECT_EQ(AskAndClose(queue, 40), Granted() ? 15 : 0) << "the sixteenth hands over, and fails";
        EXPECT_EQ(faults.submits, Granted() ? 1 : 0);
        EXPECT_EQ(OpenDescriptors(), before);
    }
}

TEST_F(AskingTheKernel, AnInterruptedCallIsMadeAgain) {
    faults.submit = EINTR;
    faults.submitFailures = 3;
    KernelQueue queue(Faulty);
    EXPECT_EQ(AskAndClose(queue, 40), Granted() ? 40 : 0);
}

TEST_F(AskingTheKernel, AKernelThatTakesOneAtATimeGetsAll) {
    faults.oneAtATime = true;
    KernelQueue queue(Faulty);
    EXPECT_EQ(AskAndClose(queue, 32), Granted() ? 32 : 0);
    EXPECT_GE(faults.submits, Granted() ? 32 : 0);
}

TEST_F(AskingTheKernel, ADescriptorStaysOpenUntilItsRequestIsDone) {
    if (!Granted()) {
        GTEST_SKIP() << "no queue here";
    }
    faults.forgets = true;
    int number = -1;
    {
        KernelQueue queue(Faulty);
        HostFd file = File();
        number = file.Get();
        queue.Close(queue.AskForFile(number), std::move(file));
        EXPECT_TRUE(IsOpen(number));
        EXPECT_EQ(AskAndClose(queue, 1000), static_cast<int>(AtMost) - 1) << "no more than that are out";
        EXPECT_EQ(queue.Outstanding(), AtMost);
    }
    EXPECT_FALSE(IsOpen(number));
}

TEST_F(AskingTheKernel, WhoComesToAFileHandsOverAllThatWaits) {
    if (!Granted()) {
        GTEST_SKIP() << "no queue here";
    }
    KernelQueue queue(Faulty);
    const HostFd first = File();
    const HostFd second = File();
    const auto request = queue.AskForFile(first.Get());
    EXPECT_NE(queue.AskForFile(second.Get()), 0U);
    EXPECT_EQ(faults.submits, 0);
    queue.Begin(request);
    EXPECT_EQ(faults.submits, 1);
    queue.Begin(request + 1);
    EXPECT_EQ(faults.submits, 1);
}

}  // namespace
}  // namespace kel::offline
