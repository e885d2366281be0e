// Helpers shared by the tests: hex byte arrays, sections, a scratch TAVEL_ROOT.
#ifndef TAVEL_TEST_SUPPORT_H
#define TAVEL_TEST_SUPPORT_H

#include <string>
#include <vector>

namespace tavel {
namespace test {

// "40 F0 3F" (blanks and newlines ignored) to bytes.
std::vector<char> hex(const std::string& text);
// Bytes to "40 F0 3F".
std::string to_hex(const std::vector<char>& bytes);
// Sets section_length for the CRC to come, then appends the CRC_32.
std::vector<char> seal(std::vector<char> section);
// A file's bytes; empty when it cannot be read.
std::vector<char> read_file(const std::string& path);

// A scratch directory set as TAVEL_ROOT for the lifetime of the object;
// the previous value is restored and the directory removed afterwards.
class TempRoot {
public:
    TempRoot();
    ~TempRoot();
    TempRoot(const TempRoot&) = delete;
    TempRoot& operator=(const TempRoot&) = delete;

    const std::string& path() const { return path_; }
    // The real path of a platform path inside the root.
    std::string operator()(const std::string& platform_path) const { return path_ + platform_path; }
    // Writes the bytes to a platform path inside the root; throws when it cannot.
    void put(const std::string& platform_path, const std::string& bytes) const;

private:
    std::string path_;
    std::string previous_;
    bool had_previous_;
};

} // namespace test
} // namespace tavel

#endif
