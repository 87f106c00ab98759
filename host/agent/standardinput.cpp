// What standard input is, found out without taking anything from it.
#include "agent/standardinput.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace NS_REFERENCE_HOST {

namespace {

constexpr int kNoticeAfterMilliseconds = 2000;

bool IsNullDevice(const struct stat& status) {
    return S_ISCHR(status.st_mode) && major(status.st_rdev) == 1 && minor(status.st_rdev) == 3;
}

// Reads a byte without moving the file's position. This also works for files of size 0 that have
// contents, such as those under /proc.
bool FileHasData(int descriptor) {
    char byte;
    const off_t position = lseek(descriptor, 0, SEEK_CUR);
    return pread(descriptor, &byte, 1, position < 0 ? 0 : position) != 0;
}

// Waits until one of the two is readable or at its end.
void WaitForEither(pollfd (&entries)[2]) {
    int ready = poll(entries, 2, kNoticeAfterMilliseconds);
    if (ready == 0) {
        std::fprintf(stderr,
                     "qv_agent: waiting for standard input (--traffic none does without)\n");
    }
    while (ready == 0 || (ready < 0 && errno == EINTR)) {
        ready = poll(entries, 2, -1);
    }
    if (ready < 0) {
        throw std::system_error(errno, std::generic_category(), "poll");
    }
}

StandardInput LookAtStream(int descriptor, int interrupt) {
    pollfd entries[] = {{interrupt, POLLIN, 0}, {descriptor, POLLIN, 0}};
    WaitForEither(entries);
    if (entries[0].revents != 0) {
        return StandardInput::Interrupted;
    }
    int available = 0;
    if (ioctl(descriptor, FIONREAD, &available) == 0 && available == 0) {
        return StandardInput::Empty;
    }
    return StandardInput::HasData;
}

}  // namespace

StandardInput LookAtInput(int descriptor, int interrupt) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || IsNullDevice(status)) {
        return StandardInput::Empty;
    }
    if (isatty(descriptor) == 1) {
        return StandardInput::Terminal;
    }
    if (S_ISREG(status.st_mode)) {
        return FileHasData(descriptor) ? StandardInput::HasData : StandardInput::Empty;
    }
    if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)) {
        return LookAtStream(descriptor, interrupt);
    }
    return StandardInput::HasData;
}

}  // namespace NS_REFERENCE_HOST
