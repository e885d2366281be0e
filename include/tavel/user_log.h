// Forwarding of user-log events to the master module of the chassis.
#ifndef TAVEL_USER_LOG_H
#define TAVEL_USER_LOG_H

#include <string>

#include <tavel/export.h>
#include <tavel/thrift/userlogs_types.h>

namespace tavel {

// Sends one event (identifier, current time in s since the epoch, origin,
// parameters) to the master's user-log service. parametros is moved into the
// event and left empty. An empty origen becomes the module's host name
// (getModuleHostName(true)). connect_timeout_ms, io_timeout_ms (ms) and
// extra_attempts go to the client unchanged. 0 when the master accepted the
// event; else -10 - r for the client's result r: -10 refused by the master,
// -9 no answer, -8 unusable address.
TAVEL_API int sendUserLogToMaster(thrift::userlogs::UserLogID::type id, thrift::userlogs::UserLogParameters& parametros,
                                  std::string origen, int connect_timeout_ms, int io_timeout_ms, int extra_attempts);

} // namespace tavel

#endif
