#include <tavel/user_log.h>

#include "platform/user_log_client.h"
#include "system/user_log.h"
#include "test_support.h"

#include <tavel/host_identity.h>
#include <tavel/thrift/UserLogs.h>

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/server/TSimpleServer.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TServerSocket.h>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <climits>
#include <ctime>
#include <future>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace {

namespace ul = tavel::thrift::userlogs;
using namespace std::chrono;
using tavel::test::TempRoot;

// A user-log service on 127.0.0.1, on a port the system picks: records every
// event and answers as told.
class LoopbackMaster : public ul::UserLogsIf, public apache::thrift::server::TServerEventHandler {
public:
    explicit LoopbackMaster(bool accept = true) : accept_(accept)
    {
        using namespace apache::thrift;
        socket_ = std::make_shared<transport::TServerSocket>("127.0.0.1", 0);
        server_ = std::make_unique<server::TSimpleServer>(
            std::make_shared<ul::UserLogsProcessor>(std::shared_ptr<ul::UserLogsIf>(this, [](ul::UserLogsIf*) {})),
            socket_, std::make_shared<transport::TFramedTransportFactory>(),
            std::make_shared<protocol::TBinaryProtocolFactory>());
        server_->setServerEventHandler(std::shared_ptr<TServerEventHandler>(this, [](TServerEventHandler*) {}));
        auto ready = ready_.get_future();
        thread_ = std::thread([this] { server_->serve(); });
        if (ready.wait_for(seconds(10)) != std::future_status::ready)
            ADD_FAILURE() << "loopback server did not start";
    }
    ~LoopbackMaster() override
    {
        server_->stop();
        thread_.join();
    }
    bool addUserLog(const ul::UserLogEvent& event) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(event);
        return accept_;
    }
    void preServe() override { ready_.set_value(); }
    int port() const { return socket_->getPort(); }
    std::vector<ul::UserLogEvent> events()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }

private:
    bool accept_;
    std::mutex mutex_;
    std::vector<ul::UserLogEvent> events_;
    std::promise<void> ready_;
    std::shared_ptr<apache::thrift::transport::TServerSocket> socket_;
    std::unique_ptr<apache::thrift::server::TSimpleServer> server_;
    std::thread thread_;
};

int sendTo(int port, ul::UserLogParameters& params, const std::string& origin, int connect_ms, int io_ms, int extra,
           ul::UserLogID::type id = ul::UserLogID::MODULE_STARTED)
{
    return tavel::user_log::sendUserLogTo(ul::sendLog, "127.0.0.1", port, id, params, origin, connect_ms, io_ms, extra);
}

// Accepted or refused, the event arrives once, whole; an empty origin
// becomes the module's host name.
TEST(UserLog, EventArrivesWholeOnceAndParametersAreMovedOut)
{
    for (bool accept : {true, false}) {
        LoopbackMaster master(accept);
        TempRoot root;
        root.put("/sys/firmware/devicetree/base/tavel/modelo", std::string("KMX-630", 8));
        root.put("/sys/firmware/devicetree/base/tavel/mac", std::string("00:1A:2B:3C:4D:5E", 18));
        ul::UserLogParameters params{{"servicio", "La 1 HD"}, {"entrada", "3"}, {"", ""}};
        const ul::UserLogParameters sent = params;
        int64_t before = std::time(nullptr);
        // A refusal is an answer: never repeated, even with attempts left.
        EXPECT_EQ(sendTo(master.port(), params, accept ? "tvl4" : "", 1000, 1000, 3, ul::UserLogID::CONFIGURATION_CHANGED),
                  accept ? 0 : -10);
        int64_t after = std::time(nullptr);
        EXPECT_TRUE(params.empty());
        auto events = master.events();
        ASSERT_EQ(events.size(), 1u);
        EXPECT_EQ(events[0].id, ul::UserLogID::CONFIGURATION_CHANGED);
        EXPECT_GE(events[0].timestamp, before);
        EXPECT_LE(events[0].timestamp, after);
        EXPECT_EQ(events[0].origin, accept ? "tvl4" : "kmx-630-3c4d5e");
        EXPECT_EQ(events[0].parameters, sent);
    }
}

// A loopback TCP socket on a port the system picks; listening or not.
std::pair<int, int> loopbackSocket(bool listening)
{
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    EXPECT_EQ(listening ? ::listen(fd, 8) : 0, 0);
    EXPECT_EQ(::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len), 0);
    return {fd, ntohs(addr.sin_port)};
}

TEST(UserLog, UnreachableMasterFailsWithinTheTimeouts)
{
    struct Case {
        bool listening;  // false: closed port; true: the kernel accepts, nobody answers
        int connect_ms, io_ms, extra;
        milliseconds min, max;
    } cases[] = {
        {false, 300, 300, 2, milliseconds(0), milliseconds(3 * 300)},
        {true, 300, 200, 1, milliseconds(2 * 200 - 20), milliseconds(2 * 200 + 1000)},  // one wait per attempt
    };
    for (const Case& c : cases) {
        auto [fd, port] = loopbackSocket(c.listening);
        if (!c.listening)
            ::close(fd);
        ul::UserLogParameters params{{"a", "b"}};
        auto start = steady_clock::now();
        EXPECT_EQ(sendTo(port, params, "tvl1", c.connect_ms, c.io_ms, c.extra), -9);
        auto elapsed = steady_clock::now() - start;
        EXPECT_GE(elapsed, c.min) << c.listening;
        EXPECT_LT(elapsed, c.max) << c.listening;
        EXPECT_TRUE(params.empty());
        if (c.listening)
            ::close(fd);
    }
}

TEST(UserLog, ClientResultsMapToOffsetCodesAndSettingsPassThrough)
{
    // Results far up would overflow the offset: they all read INT_MIN.
    for (auto [client, result] : {std::pair{1, 0}, {0, -10}, {-1, -9}, {-2, -8}, {2, -12}, {INT_MAX - 10, -INT_MAX},
                                  {INT_MAX - 9, INT_MIN}}) {
        ul::UserLogParameters params{{"k", "v"}};
        std::tuple<std::string, int, int, int, int> seen;
        auto fake = [&, client = client](const ul::UserLogEvent&, const char* h, int p, int a, int b, int c) {
            seen = {h, p, a, b, c};
            return client;
        };
        EXPECT_EQ(tavel::user_log::sendUserLogTo(fake, "master", 11000, ul::UserLogID::FACTORY_RESET, params, "tvl5",
                                                 7, 8, 9),
                  result)
            << client;
        EXPECT_EQ(seen, std::make_tuple(std::string("master"), 11000, 7, 8, 9));
        EXPECT_TRUE(params.empty());
    }
}

TEST(UserLog, UnusableAddressIsRefusedByTheClient)
{
    ul::UserLogEvent event;
    for (auto [host, port] : {std::pair<const char*, int>{nullptr, 11000}, {"", 11000}, {"127.0.0.1", 0},
                              {"127.0.0.1", 65536}})
        EXPECT_EQ(ul::sendLog(event, host, port, 100, 100, 0), -2) << (host ? host : "null") << ':' << port;
}

} // namespace
