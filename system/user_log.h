// User-log forwarding with the destination and the client as parameters.
#ifndef TAVEL_SYSTEM_USER_LOG_H
#define TAVEL_SYSTEM_USER_LOG_H

#include <tavel/user_log.h>

#include <functional>

namespace tavel {
namespace user_log {

// The client's send operation: (event, host, port, a, b, c) -> result.
using Sender = std::function<int(const thrift::userlogs::UserLogEvent&, const char*, int, int, int, int)>;

// sendUserLogToMaster addressed to host:port through send.
int sendUserLogTo(const Sender& send, const char* host, int port, thrift::userlogs::UserLogID::type id,
                  thrift::userlogs::UserLogParameters& parametros, std::string origen, int a, int b, int c);

} // namespace user_log
} // namespace tavel

#endif
