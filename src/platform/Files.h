// Putting a finished file in place under its final name without taking that
// name from anything that holds it.
#ifndef CORVID5_PLATFORM_FILES_H
#define CORVID5_PLATFORM_FILES_H

#include <string>
#include <system_error>

namespace platform {

// Gives the file `from` the name `to` in one step unless `to` already names
// something (a file, a folder, a link, a device): then nothing changes and
// the error is std::errc::file_exists. Whatever appears at `to` before the
// call is never replaced, however late it came. On a file system that cannot
// do this in one step, a hard link and the removal of `from` do it.
std::error_code renameNoReplace(const std::string& from, const std::string& to);

}  // namespace platform

#endif
