#include <tavel/user_log.h>

#include "platform/user_log_client.h"
#include "system/user_log.h"
#include "test_support.h"

#include <tavel/file_io.h>
#include <tavel/host_identity.h>
#include <tavel/thrift/UserLogs.h>

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/server/TSimpleServer.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TServerSocket.h>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <ctime>
#include <future>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

namespace ul = tavel::thrift::userlogs;
using namespace std::chrono;
using tavel::test::TempRoot;

// The master's side: records every event and answers as told.
class RecordingMaster : public ul::UserLogsIf {
public:
    explicit RecordingMaster(bool accept) : accept_(accept) {}
    bool addUserLog(const ul::UserLogEvent& event) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(event);
        return accept_;
    }
    std::vector<ul::UserLogEvent> events()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }

private:
    bool accept_;
    std::mutex mutex_;
    std::vector<ul::UserLogEvent> events_;
};

class ReadySignal : public apache::thrift::server::TServerEventHandler {
public:
    void preServe() override { ready_.set_value(); }
    std::future<void> ready() { return ready_.get_future(); }

private:
    std::promise<void> ready_;
};

// A user-log service on 127.0.0.1, on a port the system picks.
class LoopbackMaster {
public:
    explicit LoopbackMaster(bool accept = true) : master_(std::make_shared<RecordingMaster>(accept))
    {
        using namespace apache::thrift;
        socket_ = std::make_shared<transport::TServerSocket>("127.0.0.1", 0);
        server_ = std::make_unique<server::TSimpleServer>(std::make_shared<ul::UserLogsProcessor>(master_), socket_,
                                                          std::make_shared<transport::TFramedTransportFactory>(),
                                                          std::make_shared<protocol::TBinaryProtocolFactory>());
        auto signal = std::make_shared<ReadySignal>();
        auto ready = signal->ready();
        server_->setServerEventHandler(signal);
        thread_ = std::thread([this] { server_->serve(); });
        if (ready.wait_for(seconds(10)) != std::future_status::ready)
            ADD_FAILURE() << "loopback server did not start";
    }
    ~LoopbackMaster()
    {
        server_->stop();
        thread_.join();
    }
    int port() const { return socket_->getPort(); }
    std::vector<ul::UserLogEvent> events() { return master_->events(); }

private:
    std::shared_ptr<RecordingMaster> master_;
    std::shared_ptr<apache::thrift::transport::TServerSocket> socket_;
    std::unique_ptr<apache::thrift::server::TSimpleServer> server_;
    std::thread thread_;
};

int sendTo(int port, ul::UserLogID::type id, ul::UserLogParameters& params, const std::string& origin, int connect_ms,
           int io_ms, int extra)
{
    return tavel::user_log::sendUserLogTo(ul::sendLog, "127.0.0.1", port, id, params, origin, connect_ms, io_ms, extra);
}

TEST(UserLog, EventArrivesWholeAndParametersAreMovedOut)
{
    LoopbackMaster master;
    ASSERT_GT(master.port(), 0);
    ul::UserLogParameters params{{"servicio", "La 1 HD"}, {"entrada", "3"}, {"", ""}};
    const ul::UserLogParameters sent = params;
    int64_t before = std::time(nullptr);
    EXPECT_EQ(sendTo(master.port(), ul::UserLogID::CONFIGURATION_CHANGED, params, "tvl4", 1000, 1000, 0), 0);
    int64_t after = std::time(nullptr);
    EXPECT_TRUE(params.empty());

    auto events = master.events();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].id, ul::UserLogID::CONFIGURATION_CHANGED);
    EXPECT_GE(events[0].timestamp, before);
    EXPECT_LE(events[0].timestamp, after);
    EXPECT_EQ(events[0].origin, "tvl4");
    EXPECT_EQ(events[0].parameters, sent);
}

TEST(UserLog, EmptyOriginBecomesTheModuleHostName)
{
    LoopbackMaster master;
    {
        TempRoot root;
        std::string model("KMX-630", 8), mac("00:1A:2B:3C:4D:5E", 18);
        ASSERT_NE(tavel::write_char_vector_to_file(std::vector<char>(model.begin(), model.end()),
                                                   root("/sys/firmware/devicetree/base/tavel/modelo"), false),
                  0);
        ASSERT_NE(tavel::write_char_vector_to_file(std::vector<char>(mac.begin(), mac.end()),
                                                   root("/sys/firmware/devicetree/base/tavel/mac"), false),
                  0);
        ul::UserLogParameters params;
        EXPECT_EQ(sendTo(master.port(), ul::UserLogID::MODULE_STARTED, params, "", 1000, 1000, 0), 0);
    }
    {
        TempRoot root;  // no device tree: the kernel's host name
        ul::UserLogParameters params;
        EXPECT_EQ(sendTo(master.port(), ul::UserLogID::MODULE_STARTED, params, "", 1000, 1000, 0), 0);
    }
    auto events = master.events();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].origin, "kmx-630-3c4d5e");
    EXPECT_EQ(events[1].origin, tavel::getModuleHostName(true));
    EXPECT_FALSE(events[1].origin.empty());
}

TEST(UserLog, MasterRefusalIsMinusTen)
{
    LoopbackMaster master(false);
    ul::UserLogParameters params{{"a", "b"}};
    EXPECT_EQ(sendTo(master.port(), ul::UserLogID::USER_LOGIN_FAILED, params, "tvl2", 1000, 1000, 3), -10);
    // An answer is never repeated, even with attempts left.
    EXPECT_EQ(master.events().size(), 1u);
    EXPECT_TRUE(params.empty());
}

// A port nobody listens on (bound, read and released at once).
int closedPort()
{
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    EXPECT_EQ(::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len), 0);
    ::close(fd);
    return ntohs(addr.sin_port);
}

TEST(UserLog, ClosedPortFailsWithinTheConnectTimeout)
{
    ul::UserLogParameters params{{"a", "b"}};
    auto start = steady_clock::now();
    EXPECT_EQ(sendTo(closedPort(), ul::UserLogID::MODULE_STARTED, params, "tvl1", 300, 300, 2), -9);
    EXPECT_LT(steady_clock::now() - start, milliseconds(3 * 300));
    EXPECT_TRUE(params.empty());
}

TEST(UserLog, SilentMasterFailsWithinTheIoTimeout)
{
    // Accepts connections in the kernel's backlog but never answers.
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(::listen(fd, 8), 0);
    ASSERT_EQ(::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len), 0);

    ul::UserLogParameters params;
    auto start = steady_clock::now();
    EXPECT_EQ(sendTo(ntohs(addr.sin_port), ul::UserLogID::MODULE_STARTED, params, "tvl1", 300, 200, 1), -9);
    auto elapsed = steady_clock::now() - start;
    EXPECT_GE(elapsed, milliseconds(2 * 200 - 20));
    EXPECT_LT(elapsed, milliseconds(2 * 200 + 1000));
    ::close(fd);
}

TEST(UserLog, ClientResultsMapToOffsetCodes)
{
    struct Case {
        int client;
        int result;
    } cases[] = {{1, 0}, {0, -10}, {-1, -9}, {-2, -8}, {2, -12}};
    for (const Case& c : cases) {
        ul::UserLogParameters params{{"k", "v"}};
        std::string host;
        int port = 0, a = 0, b = 0, x = 0;
        ul::UserLogEvent seen;
        auto fake = [&](const ul::UserLogEvent& e, const char* h, int p, int a_, int b_, int c_) {
            seen = e;
            host = h;
            port = p;
            a = a_;
            b = b_;
            x = c_;
            return c.client;
        };
        EXPECT_EQ(tavel::user_log::sendUserLogTo(fake, "master", 11000, ul::UserLogID::FACTORY_RESET, params, "tvl5",
                                                 7, 8, 9),
                  c.result)
            << c.client;
        EXPECT_EQ(host, "master");
        EXPECT_EQ(port, 11000);
        EXPECT_EQ(a, 7);
        EXPECT_EQ(b, 8);
        EXPECT_EQ(x, 9);
        EXPECT_EQ(seen.parameters, (ul::UserLogParameters{{"k", "v"}}));
        EXPECT_TRUE(params.empty());
    }
}

TEST(UserLog, UnusableAddressIsRefusedByTheClient)
{
    ul::UserLogEvent event;
    EXPECT_EQ(ul::sendLog(event, nullptr, 11000, 100, 100, 0), -2);
    EXPECT_EQ(ul::sendLog(event, "", 11000, 100, 100, 0), -2);
    EXPECT_EQ(ul::sendLog(event, "127.0.0.1", 0, 100, 100, 0), -2);
    EXPECT_EQ(ul::sendLog(event, "127.0.0.1", 65536, 100, 100, 0), -2);
}

} // namespace
