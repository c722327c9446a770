// Makes an NTFS image and fragments it as the tests do, for the
// demonstration: ntfs_sample_image IMAGE SEED. Prints the files it made.
#include <cstdio>
#include <cstdlib>

#include "NtfsImages.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: ntfs_sample_image IMAGE SEED\n", stderr);
    return 2;
  }
  std::string error;
  FilledImage filled;
  if (!MakeNtfsImage(argv[1], 256ull << 20, error) ||
      !FillRandomly(argv[1], uint32_t(std::strtoul(argv[2], nullptr, 10)), 3, filled, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  for (const std::string& file : filled.files) std::printf("%s\n", file.c_str());
  return 0;
}
