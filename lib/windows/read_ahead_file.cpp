#include "lib/read_ahead_file.h"

#include "lib/windows/drives.h"
#include "lib/windows/file_info.h"
#include "lib/windows/open_file.h"

namespace zelkor::lib {

bool ReadFileAhead(const std::string& path, Date cutoff, std::vector<char>& buffer, ReadAhead::Found& found) {
  const Result<std::wstring> native = windows::ToSystem(path);
  if (!native.Ok()) return false;
  windows::Facts facts;
  const bool known = cutoff != 0;
  if (known) {
    if (windows::ReadFacts(*native, facts) != 0 || facts.IsDirectory()) return false;
    found.info = windows::ToFileInfo(facts);
    if (DateToSeconds(found.info.written) <= DateToSeconds(cutoff)) return true;
  }
  const windows::OwnedHandle file(CreateFileW(native->c_str(), GENERIC_READ, windows::kShareAll, nullptr, OPEN_EXISTING,
                                              FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file.IsOpen() || GetFileType(file.Get()) != FILE_TYPE_DISK) return known;
  if (windows::ReadFacts(file.Get(), facts) != 0 || facts.size > ReadAhead::kLongest) return known;
  found.info = windows::ToFileInfo(facts);
  const auto count = static_cast<std::size_t>(facts.size);
  if (buffer.size() < count) buffer.resize(count);
  std::size_t read = 0;
  if (count > 0 && (windows::ReadPiece(file.Get(), 0, buffer.data(), count, read) != 0 || read != count)) return true;
  windows::Facts after;
  if (windows::ReadFacts(file.Get(), after) != 0 || after.size != facts.size) return true;
  if (windows::ChangeStamp(after) != windows::ChangeStamp(facts)) return true;
  found.content = std::span(buffer).first(count);
  found.read = true;
  return true;
}

}  // namespace zelkor::lib
