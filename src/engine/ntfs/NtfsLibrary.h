#pragma once
// The on-disk format library's headers, which need a few system headers of
// their own before them and C linkage.
#include <sys/stat.h>
#include <sys/types.h>

#include <cstdarg>
#include <cstdint>
#include <ctime>

extern "C" {
#include <ntfs-3g/types.h>
#include <ntfs-3g/volume.h>
#include <ntfs-3g/attrib.h>
#include <ntfs-3g/bitmap.h>
#include <ntfs-3g/device.h>
#include <ntfs-3g/dir.h>
#include <ntfs-3g/inode.h>
#include <ntfs-3g/lcnalloc.h>
#include <ntfs-3g/runlist.h>
}
// The library defines min and max as macros.
#undef min
#undef max
