// The files of a database, byte by byte as docs/formats.md describes them, written out without any of the program's
// code for records.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zelkor::tests {

// The bytes of a literal, zero bytes too.
template <std::size_t N>
std::string Raw(const char (&literal)[N]) {  // NOLINT(modernize-avoid-c-arrays): a literal is one
  return {literal, N - 1};
}

// Text at the left of a field of `width` bytes, blanks behind it.
inline std::string Pad(std::string_view text, std::size_t width) {
  std::string field(text);
  field.resize(width, ' ');
  return field;
}

// 12:00 on 9 December 2025 (day 46000), and 6:00 the day before, as little-endian IEEE doubles.
inline const std::string kNoon46000 = Raw("\x00\x00\x00\x00\x10\x76\xe6\x40");
inline const std::string kSix45999 = Raw("\x00\x00\x00\x00\xe8\x75\xe6\x40");
inline const std::string kNever = Raw("\x00\x00\x00\x00\x00\x00\x00\x00");

// "zelkor.ind" with two items, the second one deleted.
inline std::string GoldenItems() {
  return Pad("c:\\job\\finance\\plan.xls\r\nc:\\job\\finance\\notes.txt", 512)  // 0 file name
         + Pad("Plan", 64)                                                      // 512 description
         + Pad("office", 16)                                                    // 576 import source
         + Raw("\x00\x00")                                                      // 592 flags
         + Raw("\x39\x30\x00\x00")                                              // 594 file data length 12345
         + Raw("\x02\x00\x00\x00")                                              // 598 file count 2
         + kNoon46000                                                           // 602 import date
         + "memosign"                                                           // 610 signature
         + Raw("\x01\x00")                                                      // 618 sync method On
         + Pad("+pc1 Work", 128)                                                // 620 codes
         + Raw("\x78\x56\x34\x12")                                              // 748 memo ID 305419896
         + Raw("\x02\x00")                                                      // 752 sync to Only included
         + std::string(270, 'r')                                                // 754 reserved 3
         // The second item.
         + Pad("d:\\old\\letter.doc", 512)  //
         + Pad("Letter", 64)                //
         + Pad("", 16)                      //
         + Raw("\x81\x7f")                  // deleted, and bits that nobody knows
         + Raw("\x00\x00\x00\x00")          //
         + Raw("\x00\x00\x00\x00")          //
         + kNever                           //
         + Raw("\x00\x00\x00\x00\x00\x00\x00\x00") + Raw("\x02\x00") + Pad("", 128) + Raw("\xff\xff\xff\x7f") +
         Raw("\x01\x00") + std::string(270, '\0');
}

// "zelkor.cfg" with two targets, the first and the third slot.
inline std::string GoldenConfig() {
  return Raw("Zelkor! ")           // 0 signature
         + Raw("\xdc\x00")         // 8 version 220
         + std::string(3062, 'x')  // 10 reserved 1
         + Pad(" xls doc", 256)    // 3072 shell types
         + Pad(" txt ini", 256)    // 3328 editor types
         + std::string(512, 'y')   // 3584 reserved 2
         // 4096: slot 1
         + Pad("office", 8)            // 0 computer ID
         + kNoon46000                  // 8 last import
         + kSix45999                   // 16 last export
         + Pad("a:\\", 64)             // 24 media path
         + Raw("\x02\x00")             // 88 connection type FTP
         + Pad("ftp.example.com", 64)  // 90 address
         + Pad("anna", 32)             // 154 user name
         + Pad("secret", 32)           // 186 password
         + Pad("/sync", 32)            // 218 directory
         + Raw("\x01")                 // 250 excluded by default
         + "12345"                     // 251 reserved
         + std::string(256, ' ')       // slot 2, free
         // Slot 3.
         + Pad("lap", 8) + kNever + kNever + Pad("c:\\stick\\", 64) + Raw("\x00\x00") + Pad("", 64) + Pad("", 32) +
         Pad("", 32) + Pad("", 32) + Raw("\x00") + Pad("", 5) + std::string(13 * 256, ' ');
}

// An item file of an older version, three items.
inline std::string OldItem(std::string_view fileName, std::string_view description, std::string_view flags,
                           std::string_view codes, std::string_view memoId) {
  std::string record = Pad(fileName, 200);  // 0 file name
  record += Pad(description, 64);           // 200 description
  record += Pad("lap", 16);                 // 264 import source
  record += flags;                          // 280 flags
  record += Raw("\x0a\x00\x00\x00");        // 282 reserved 1
  record += Raw("\x0b\x00\x00\x00");        // 286 reserved 2
  record += kSix45999;                      // 290 import date
  record += Raw("sixteen byte old");        // 298 old field
  record += Raw("memosign");                // 314 signature
  record += Raw("\x01\x00");                // 322 sync method
  record += Pad(codes, 60);                 // 324 codes
  record += memoId;                         // 384 memo ID
  record += Raw("\x02\x00");                // 388 sync to
  record += std::string(122, 'q');          // 390 reserved
  return record;
}
inline std::string OldItems() {
  return OldItem("c:\\job\\plan.xls", "Plan", Raw("\x00\x00"), "work", Raw("\x01\x02\x03\x04")) +
         OldItem("c:\\job\\list.txt", "List", Raw("\x01\x00"), "", Raw("\x05\x06\x07\x08")) +
         OldItem("d:\\letters\\anna.doc", "Letter to Anna", Raw("\x00\x00"), "home +lap", Raw("\x09\x0a\x0b\x0c"));
}

// What conversion makes of them.
inline std::string ConvertedItem(std::string_view fileName, std::string_view description, std::string_view flags,
                                 std::string_view codes, std::string_view memoId) {
  std::string record = Pad(fileName, 512);
  record += Pad(description, 64);
  record += Pad("lap", 16);
  record += flags;
  record += Raw("\x0a\x00\x00\x00");
  record += Raw("\x0b\x00\x00\x00");
  record += kSix45999;
  record += Raw("memosign");
  record += Raw("\x01\x00");
  record += Pad(codes, 128);
  record += memoId;
  record += Raw("\x02\x00");
  record += std::string(270, '\0');
  return record;
}
inline std::string ConvertedItems() {
  return ConvertedItem("c:\\job\\plan.xls", "Plan", Raw("\x00\x00"), "work", Raw("\x01\x02\x03\x04")) +
         ConvertedItem("c:\\job\\list.txt", "List", Raw("\x01\x00"), "", Raw("\x05\x06\x07\x08")) +
         ConvertedItem("d:\\letters\\anna.doc", "Letter to Anna", Raw("\x00\x00"), "home +lap",
                       Raw("\x09\x0a\x0b\x0c"));
}

// A configuration record of an older version, without room for targets.
inline std::string OldConfig() {
  return Raw("Zelkor! ") + Raw("\x6e\x00") /* 110 */ + std::string(3062, ' ') + Pad(" xls", 256) + Pad(" txt", 256) +
         std::string(512, ' ');
}

}  // namespace zelkor::tests
