// What the kernel is asked for early: taken or not, done or not, it leaves nothing behind.
#include "offline/KernelQueue.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/io_uring.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace kel::offline {
namespace {

constexpr unsigned AtMost = 128;

// What the faulty calls do; the calls have no object.
struct Faults {
    int setup = 0;          // error number of the first so many...
    int setupFailures = 0;  // ...calls
    unsigned features = ~0U;
    int enter = 0;  // error number
    int enterFailures = 0;
    bool oneAtATime = false;
    bool forgets = false;  // says that it took them
    int setups = 0;
    int enters = 0;
    unsigned flags = 0;
};
Faults faults;

int Setup(unsigned entries, io_uring_params* params) {
    if (faults.setups++ < faults.setupFailures) {
        errno = faults.setup;
        return -1;
    }
    faults.flags = params->flags;
    const int fd = KernelQueue::HostCalls().setup(entries, params);
    params->features &= faults.features;
    return fd;
}

int Enter(int queue, unsigned submit, unsigned wait, unsigned flags) {
    if (faults.enters++ < faults.enterFailures) {
        errno = faults.enter;
        return -1;
    }
    if (faults.forgets) {
        errno = ENOMEM;
        return wait > 0 ? -1 : static_cast<int>(submit);
    }
    return KernelQueue::HostCalls().enter(queue, faults.oneAtATime && submit > 1 ? 1 : submit, wait, flags);
}

constexpr KernelQueue::Calls Faulty = {Setup, Enter};

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
        const HostFd queue(KernelQueue::HostCalls().setup(1, &params));
        return queue.Valid();
    }
    HostFd File() const { return HostFd(open((folder / "file").c_str(), O_RDONLY | O_CLOEXEC)); }
    HostFd Parent() const { return HostFd(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)); }
    static bool IsOpen(int fd) { return fcntl(fd, F_GETFD) >= 0; }
    static auto Descriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    }
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
    const auto before = Descriptors();
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
        EXPECT_LE(Descriptors(), before + 2 + 2 + AtMost);
    }
    EXPECT_EQ(Descriptors(), before);
}

TEST_F(AskingTheKernel, FoldersThatAreNotThereAreLinksOrHoldTheNameThatIsLookedForLeaveNothingOpen) {
    std::ofstream(folder / "sub" / "\x01") << "somebody's";
    const auto before = Descriptors();
    {
        KernelQueue queue;
        const HostFd parent = Parent();
        for (const char* name : {"none", "file", "link", "sub", "..", "", "sub"}) {
            queue.AskForFolder(parent.Get(), name);
        }
        queue.AskForFolder(-1, "sub");
    }
    EXPECT_EQ(Descriptors(), before);
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
        faults.setup = error;
        faults.setupFailures = 10;
        KernelQueue queue(Faulty);
        EXPECT_EQ(AskAndClose(queue, 40), 0);
        queue.AskForFolder(Parent().Get(), "sub");
        queue.Begin(1);
        EXPECT_EQ(queue.Outstanding(), 0U);
        EXPECT_EQ(faults.enters, 0);
    }
}

TEST_F(AskingTheKernel, AnOlderKernelIsAskedAgainWithoutWhatItDoesNotKnow) {
    faults.setup = EINVAL;
    faults.setupFailures = 1;
    KernelQueue queue(Faulty);
    EXPECT_EQ(faults.setups, 2);
    EXPECT_EQ(faults.flags, 0U);
    EXPECT_EQ(AskAndClose(queue, 5), Granted() ? 5 : 0);
}

TEST_F(AskingTheKernel, AKernelThatIsTooOldIsNotAsked) {
    faults.features = 0;
    const auto before = Descriptors();
    KernelQueue queue(Faulty);
    EXPECT_EQ(AskAndClose(queue, 40), 0);
    EXPECT_EQ(Descriptors(), before);
}

TEST_F(AskingTheKernel, AKernelThatRefusesIsNotAskedAgain) {
    for (const int error : {EAGAIN, EBUSY, EBADF, ENOMEM}) {
        faults = {};
        faults.enter = error;
        faults.enterFailures = 1000;
        const auto before = Descriptors();
        KernelQueue queue(Faulty);
        EXPECT_EQ(AskAndClose(queue, 40), Granted() ? 15 : 0) << "the sixteenth hands over, and fails";
        EXPECT_EQ(faults.enters, Granted() ? 1 : 0);
        EXPECT_EQ(Descriptors(), before);
    }
}

TEST_F(AskingTheKernel, AnInterruptedCallIsMadeAgain) {
    faults.enter = EINTR;
    faults.enterFailures = 3;
    KernelQueue queue(Faulty);
    EXPECT_EQ(AskAndClose(queue, 40), Granted() ? 40 : 0);
}

TEST_F(AskingTheKernel, AKernelThatTakesOneAtATimeGetsAll) {
    faults.oneAtATime = true;
    KernelQueue queue(Faulty);
    EXPECT_EQ(AskAndClose(queue, 32), Granted() ? 32 : 0);
    EXPECT_GE(faults.enters, Granted() ? 32 : 0);
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
    EXPECT_EQ(faults.enters, 0);
    queue.Begin(request);
    EXPECT_EQ(faults.enters, 1);
    queue.Begin(request + 1);
    EXPECT_EQ(faults.enters, 1);
}

}  // namespace
}  // namespace kel::offline
