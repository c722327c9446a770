// Makes an NTFS image and fragments it as the tests do, for the
// demonstration: ntfs_sample_image IMAGE SEED [SCALE [MEGABYTES]] (3 and 256
// unless given). Prints the files it made.
#include <cstdio>
#include <cstdlib>

#include "NtfsImages.h"

int main(int argc, char** argv) {
  if (argc < 3 || argc > 5) {
    std::fputs("usage: ntfs_sample_image IMAGE SEED [SCALE [MEGABYTES]]\n", stderr);
    return 2;
  }
  std::string error;
  FilledImage filled;
  const int scale = argc > 3 ? std::atoi(argv[3]) : 3;
  const uint64_t megabytes = argc > 4 ? std::strtoull(argv[4], nullptr, 10) : 256;
  if (!MakeNtfsImage(argv[1], megabytes << 20, error) ||
      !FillRandomly(argv[1], uint32_t(std::strtoul(argv[2], nullptr, 10)), scale, filled, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  for (const std::string& file : filled.files) std::printf("%s\n", file.c_str());
  return 0;
}
