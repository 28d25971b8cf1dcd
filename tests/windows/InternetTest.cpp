// Downloads from a server of the test's own, and the restore service that Wine does not have.
#include <gmock/gmock.h>

// winsock2.h before windows.h, which brings the older one.
#include <winsock2.h>
// After winsock2.h.
#include <windows.h>

#include <array>
#include <string>
#include <thread>
#include <utility>

#include "cleaner/CustomScripts.h"
#include "support/EngineTest.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::SysError;

// Answers every request on a port of the loopback with one page.
class Server {
public:
    explicit Server(std::string page) : page_(std::move(page)) {
        WSADATA data{};
        EXPECT_EQ(::WSAStartup(MAKEWORD(2, 2), &data), 0);
        listener_ = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        int size = sizeof(address);
        EXPECT_EQ(::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size), 0);
        port_ = ntohs(address.sin_port);
        EXPECT_EQ(::listen(listener_, SOMAXCONN), 0);
        thread_ = std::thread([this] { Serve(); });
    }
    ~Server() {
        ::closesocket(listener_);
        thread_.join();
        ::WSACleanup();
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    [[nodiscard]] std::string Address() const { return "http://127.0.0.1:" + std::to_string(port_) + "/script"; }

private:
    void Serve() {
        for (;;) {
            const SOCKET client = ::accept(listener_, nullptr, nullptr);
            if (client == INVALID_SOCKET) {
                return;
            }
            std::array<char, 4096> request{};
            ::recv(client, request.data(), static_cast<int>(request.size()), 0);
            const std::string answer =
                "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\nConnection: close\r\nContent-Length: " +
                std::to_string(page_.size()) + "\r\n\r\n" + page_;
            ::send(client, answer.data(), static_cast<int>(answer.size()), 0);
            ::shutdown(client, SD_SEND);
            ::closesocket(client);
        }
    }

    std::string page_;
    SOCKET listener_ = INVALID_SOCKET;
    unsigned port_ = 0;
    std::thread thread_;
};

class Internet : public EngineTest {};

TEST_F(Internet, AFileIsFetched) {
    const Server server("one\r\ntwo");
    const std::string path = Folder() + "fetched";
    EXPECT_EQ(Machine().internet->Download(server.Address(), path), SysError::Success);
    EXPECT_EQ(ReadFile(path), "one\r\ntwo");
}

TEST_F(Internet, AServerThatIsNotThereIsAnError) {
    std::string address;
    {
        const Server gone("page");
        address = gone.Address();
    }
    EXPECT_NE(Machine().internet->Download(address, Folder() + "fetched"), SysError::Success);
    EXPECT_NE(Machine().internet->Download("no address", Folder() + "fetched"), SysError::Success);
}

TEST_F(Internet, AScriptThatIsFetchedRuns) {
    const Server server("POST -AddRegistrySetting HKEY_CURRENT_USER|" + Key() + "|Post|no|REG_SZ\r\n" +
                        "PRE -AddRegistrySetting HKEY_CURRENT_USER|" + Key() + "|Pre|yes|REG_SZ\r\n");
    EXPECT_EQ(modCleanerHelper::RunCustomScriptWithDownload("PRE", server.Address()), errNone);
    EXPECT_EQ(modRegistry::GetRegistryValueText(platform::HiveCurrentUser, Key(), "Pre"), "yes");
    EXPECT_FALSE(modRegistry::RegValueExists(platform::HiveCurrentUser, Key(), "Post"));
    EXPECT_THAT(Reported(), ::testing::IsEmpty());
}

TEST_F(Internet, ARestoreServiceThatIsNotThereIsAnError) {
    EXPECT_FALSE(Machine().restorePoints->Create("point", 0, 100).Ok());
}

}  // namespace
}  // namespace kel::test
