#include "platform/user_log_client.h"

#include <tavel/thrift/UserLogs.h>

#include <thrift/Thrift.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

#include <memory>

namespace tavel {
namespace thrift {
namespace userlogs {

namespace {

// One connection, one call. 1 accepted, 0 refused by the master; transport
// and protocol failures surface as exceptions.
int sendOnce(const UserLogEvent& event, const char* host, int port, int connect_timeout_ms, int io_timeout_ms)
{
    auto socket = std::make_shared<apache::thrift::transport::TSocket>(host, port);
    socket->setConnTimeout(connect_timeout_ms);
    socket->setSendTimeout(io_timeout_ms);
    socket->setRecvTimeout(io_timeout_ms);
    auto transport = std::make_shared<apache::thrift::transport::TFramedTransport>(socket);
    auto protocol = std::make_shared<apache::thrift::protocol::TBinaryProtocol>(transport);
    UserLogsClient client(protocol);
    transport->open();
    bool accepted = client.addUserLog(event);
    transport->close();
    return accepted ? 1 : 0;
}

} // namespace

int sendLog(const UserLogEvent& event, const char* host, int port, int connect_timeout_ms, int io_timeout_ms,
            int extra_attempts)
{
    if (host == nullptr || *host == '\0' || port <= 0 || port > 65535)
        return -2;
    if (connect_timeout_ms < 0)
        connect_timeout_ms = 0;
    if (io_timeout_ms < 0)
        io_timeout_ms = 0;
    int attempts = 1 + (extra_attempts > 0 ? extra_attempts : 0);
    for (int i = 0; i < attempts; ++i) {
        try {
            return sendOnce(event, host, port, connect_timeout_ms, io_timeout_ms);
        } catch (const apache::thrift::TException&) {
            // Try again with a new connection, if attempts are left.
        }
    }
    return -1;
}

} // namespace userlogs
} // namespace thrift
} // namespace tavel
