// A program of the headend as it would use the installed library.
#include <tavel/commonTavel.h>

#include <cstdio>
#include <vector>

int main()
{
    const char text[] = "123456789";
    std::vector<char> data(text, text + 9);
    unsigned long crc = tavel::mpeg_crc(0xFFFFFFFFUL, data, data.size());
    if (crc != 0x0376E6E7UL) {
        std::printf("unexpected CRC %08lx\n", crc);
        return 1;
    }
    // The generated user-log types are usable from the installed headers.
    tavel::thrift::userlogs::UserLogEvent event;
    event.id = tavel::thrift::userlogs::UserLogID::MODULE_STARTED;
    event.parameters["slot"] = "3";
    if (event.parameters.size() != 1 || event == tavel::thrift::userlogs::UserLogEvent()) {
        std::printf("user-log event broken\n");
        return 1;
    }
    std::printf("consumer ok\n");
    return 0;
}
