// The program that PutTellingProgram puts in the place of others.
#include <cstdlib>
#include <fstream>
#include <string>

int main(int /*count*/, char** words) {
  const char* folder = std::getenv("ZELKOR_DIR");
  const std::string own = words[0];
  std::ofstream told(own + ".told", std::ios::binary | std::ios::app);
  told << (std::string(folder == nullptr ? "" : folder) + "\n");
  return told ? 0 : 1;
}
