#include <tavel/user_log.h>

#include "platform/user_log_client.h"
#include "system/user_log.h"

#include <tavel/constants.h>
#include <tavel/host_identity.h>

#include <climits>
#include <ctime>
#include <utility>

namespace tavel {

namespace user_log {

int sendUserLogTo(const Sender& send, const char* host, int port, thrift::userlogs::UserLogID::type id,
                  thrift::userlogs::UserLogParameters& parametros, std::string origen, int a, int b, int c)
{
    if (origen.empty())
        origen = getModuleHostName(true);
    thrift::userlogs::UserLogEvent event;
    event.id = id;
    event.timestamp = static_cast<int64_t>(std::time(nullptr));
    event.origin = std::move(origen);
    event.parameters = std::move(parametros);
    // A moved-from map is valid but unspecified; callers rely on finding it empty.
    parametros.clear();
    int r = send(event, host, port, a, b, c);
    if (r == 1)
        return 0;
    // Callers tell the client's failures apart by this offset.
    if (r > INT_MAX - 10)
        return INT_MIN;
    return -10 - r;
}

} // namespace user_log

int sendUserLogToMaster(thrift::userlogs::UserLogID::type id, thrift::userlogs::UserLogParameters& parametros,
                        std::string origen, int connect_timeout_ms, int io_timeout_ms, int extra_attempts)
{
    return user_log::sendUserLogTo(thrift::userlogs::sendLog, constants::kUserLogMasterHost,
                                   constants::kUserLogMasterPort, id, parametros, std::move(origen), connect_timeout_ms,
                                   io_timeout_ms, extra_attempts);
}

} // namespace tavel
