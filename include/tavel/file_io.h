// Whole-file helpers of the headend's utility library.
#ifndef TAVEL_FILE_IO_H
#define TAVEL_FILE_IO_H

#include <string>
#include <vector>

#include <tavel/export.h>

namespace tavel {

// Reads the whole file into buffer (replacing its contents). Non-zero on
// success; on failure the buffer is left as it was.
TAVEL_API int read_char_vector_from_file(const std::string& path, std::vector<char>& buffer);

// Replaces the file by the whole buffer, atomically: a temporary file in the
// same directory is written, flushed and renamed over the target, so a reader
// sees the old file or the new one, never a mixture. Missing parent
// directories are created. Non-zero on success; on failure the old file is
// intact, no temporary file remains and a LOG_WARNING line names the path and
// the system's reason. flag is accepted for compatibility (the headend passes
// false).
//
// The temporary file is "<file name>.tmp.XXXXXX" (six random characters),
// locked (flock) by its writer until the rename. Each write first removes the
// temporary files of the same target whose lock is free, i.e. those left by a
// writer that died; temporary files of live writers and of other targets stay.
TAVEL_API int write_char_vector_to_file(const std::vector<char>& buffer, const std::string& path, bool flag);

} // namespace tavel

#endif
