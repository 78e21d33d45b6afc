// FakeSystemApi: the entries of SystemApi that the operations of `enrol` use, in memory and the same on every platform.
// The files are real ones below a scratch home folder, since the program opens the marker file by the C library.
#ifndef VT_TESTS_SUPPORT_FAKE_SYSTEM_API_H
#define VT_TESTS_SUPPORT_FAKE_SYSTEM_API_H

#include <map>
#include <string>
#include <string_view>

#include "platform/platform.h"

namespace support {

class FakeSystemApi {
  public:
    // Makes an empty scratch home folder, and replaces GetLastError, SetLastError, CoCreateGuid,
    // ExpandEnvironmentStringsA, MultiByteToWideChar, WideCharToMultiByte, FileTimeToSystemTime, FindFirstFileA,
    // FindClose and DeleteFileA.
    FakeSystemApi();
    // Puts back what stood in the table, and removes the home folder.
    ~FakeSystemApi();
    FakeSystemApi(const FakeSystemApi&) = delete;
    FakeSystemApi& operator=(const FakeSystemApi&) = delete;

    // The value of "%NAME%"; a name that is not here stays as it is, as on the platform.
    std::map<std::string, std::string> environment;

    // The next GUID; Data1 grows by one with each.
    GUID guid;

    DWORD lastError = 0;

    // The scratch home folder: HOMEDRIVE is empty and HOMEPATH is this.
    const std::string& home() const { return home_; }
    std::string markerPath() const;

    // The marker file's bytes; "(none)" when there is no file.
    std::string marker() const;
    void writeMarker(const std::string& bytes) const;

    // The one that is alive; the entries of the table find it here.
    static FakeSystemApi* current;

  private:
    platform::SystemApi before_;
    std::string home_;
};

// utf8Of: wide text of either width of wchar_t in UTF-8.
std::string utf8Of(std::wstring_view wide);

}  // namespace support

#endif
