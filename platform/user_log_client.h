// Client of the master module's user-log service: one event, one call.
#ifndef TAVEL_PLATFORM_USER_LOG_CLIENT_H
#define TAVEL_PLATFORM_USER_LOG_CLIENT_H

#include <tavel/thrift/userlogs_types.h>

namespace tavel {
namespace thrift {
namespace userlogs {

// Sends the event to the user-log service at host:port over TCP (framed
// transport, binary protocol) and waits for the master's answer.
//   connect_timeout_ms  limit of each connection attempt, in ms (0: none)
//   io_timeout_ms       limit of each send and of the wait for the answer, in ms (0: none)
//   extra_attempts      further attempts after a transport failure (negative: none);
//                       an answer, accepted or not, is never repeated
// Returns 1 when the master accepted the event, 0 when it answered that it
// did not, -1 when no attempt got an answer (unreachable, refused, timed out,
// broken connection, protocol error), -2 when host or port is unusable.
int sendLog(const UserLogEvent& event, const char* host, int port, int connect_timeout_ms, int io_timeout_ms,
            int extra_attempts);

} // namespace userlogs
} // namespace thrift
} // namespace tavel

#endif
