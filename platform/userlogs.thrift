// User-log events that every module of the chassis reports to the master
// module. The C++ types and the service stubs are generated at build time.

namespace cpp tavel.thrift.userlogs

// What happened. Values are stored by the master; never renumber them.
enum UserLogID {
  MODULE_STARTED = 1,
  MODULE_REBOOTED = 2,
  CONFIGURATION_CHANGED = 3,
  FACTORY_RESET = 4,
  FIRMWARE_UPDATED = 5,
  INPUT_SIGNAL_LOST = 6,
  INPUT_SIGNAL_RECOVERED = 7,
  OUTPUT_CHANGED = 8,
  USER_LOGIN = 9,
  USER_LOGIN_FAILED = 10,
}

// Named values that complete the event text (service name, input, user...).
typedef map<string, string> UserLogParameters

struct UserLogEvent {
  1: UserLogID id,
  // Seconds since the Unix epoch (UTC).
  2: i64 timestamp,
  3: UserLogParameters parameters,
  // Host name of the module the event comes from.
  4: string origin,
}

service UserLogs {
  // True when the master accepted and stored the event. Not oneway: the
  // sender must know that the event was delivered.
  bool addUserLog(1: UserLogEvent event),
}
