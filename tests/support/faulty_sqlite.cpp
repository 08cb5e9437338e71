#include "support/faulty_sqlite.h"

#include <sqlite3.h>

#include <cstring>
#include <stdexcept>

namespace lomarind::testing {
namespace {

struct Faults {
  sqlite3_vfs* real = nullptr;
  sqlite3_vfs vfs{};
  std::string fragment;
  int code = SQLITE_OK;
  int refused = 0;
};

Faults& faults() {
  static Faults state;  // SQLite's VFS callbacks carry no context of ours
  return state;
}

struct File {
  sqlite3_file base;
  sqlite3_file* real;
  bool watched;
};

sqlite3_file* real(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real; }

int refusal(sqlite3_file* file, int code) {
  Faults& f = faults();
  if (f.code == SQLITE_OK || !reinterpret_cast<File*>(file)->watched) return SQLITE_OK;
  ++f.refused;
  return code;
}

int x_close(sqlite3_file* f) { return real(f)->pMethods->xClose(real(f)); }
int x_read(sqlite3_file* f, void* b, int n, sqlite3_int64 at) {
  return real(f)->pMethods->xRead(real(f), b, n, at);
}
int x_write(sqlite3_file* f, const void* b, int n, sqlite3_int64 at) {
  if (const int code = refusal(f, faults().code)) return code;
  return real(f)->pMethods->xWrite(real(f), b, n, at);
}
int x_truncate(sqlite3_file* f, sqlite3_int64 size) {
  if (const int code = refusal(f, SQLITE_IOERR_TRUNCATE)) return code;
  return real(f)->pMethods->xTruncate(real(f), size);
}
int x_sync(sqlite3_file* f, int flags) {
  if (const int code = refusal(f, SQLITE_IOERR_FSYNC)) return code;
  return real(f)->pMethods->xSync(real(f), flags);
}
int x_file_size(sqlite3_file* f, sqlite3_int64* size) {
  return real(f)->pMethods->xFileSize(real(f), size);
}
int x_lock(sqlite3_file* f, int lock) { return real(f)->pMethods->xLock(real(f), lock); }
int x_unlock(sqlite3_file* f, int lock) { return real(f)->pMethods->xUnlock(real(f), lock); }
int x_check_reserved(sqlite3_file* f, int* out) {
  return real(f)->pMethods->xCheckReservedLock(real(f), out);
}
int x_file_control(sqlite3_file* f, int op, void* arg) {
  return real(f)->pMethods->xFileControl(real(f), op, arg);
}
int x_sector_size(sqlite3_file* f) { return real(f)->pMethods->xSectorSize(real(f)); }
int x_device(sqlite3_file* f) { return real(f)->pMethods->xDeviceCharacteristics(real(f)); }
int x_shm_map(sqlite3_file* f, int page, int size, int extend, void volatile** out) {
  return real(f)->pMethods->xShmMap(real(f), page, size, extend, out);
}
int x_shm_lock(sqlite3_file* f, int offset, int n, int flags) {
  return real(f)->pMethods->xShmLock(real(f), offset, n, flags);
}
void x_shm_barrier(sqlite3_file* f) { real(f)->pMethods->xShmBarrier(real(f)); }
int x_shm_unmap(sqlite3_file* f, int remove) {
  return real(f)->pMethods->xShmUnmap(real(f), remove);
}
int x_fetch(sqlite3_file* f, sqlite3_int64 at, int n, void** out) {
  return real(f)->pMethods->xFetch(real(f), at, n, out);
}
int x_unfetch(sqlite3_file* f, sqlite3_int64 at, void* p) {
  return real(f)->pMethods->xUnfetch(real(f), at, p);
}

const sqlite3_io_methods kMethods = {3,           x_close,          x_read,         x_write,
                                     x_truncate,  x_sync,           x_file_size,    x_lock,
                                     x_unlock,    x_check_reserved, x_file_control, x_sector_size,
                                     x_device,    x_shm_map,        x_shm_lock,     x_shm_barrier,
                                     x_shm_unmap, x_fetch,          x_unfetch};

int x_open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* out_flags) {
  File* ours = reinterpret_cast<File*>(file);
  ours->real = reinterpret_cast<sqlite3_file*>(ours + 1);
  ours->watched = name != nullptr && !faults().fragment.empty() &&
                  std::strstr(name, faults().fragment.c_str()) != nullptr;
  const int rc = faults().real->xOpen(faults().real, name, ours->real, flags, out_flags);
  ours->base.pMethods = rc == SQLITE_OK && ours->real->pMethods ? &kMethods : nullptr;
  return rc;
}

}  // namespace

FaultySqlite::FaultySqlite() {
  Faults& f = faults();
  sqlite3_initialize();
  f.real = sqlite3_vfs_find(nullptr);
  if (f.real == nullptr) throw std::runtime_error("SQLite has no default VFS");
  f.vfs = *f.real;
  f.vfs.zName = "lomarind-faulty";
  f.vfs.szOsFile = static_cast<int>(sizeof(File)) + f.real->szOsFile;
  f.vfs.xOpen = x_open;
  sqlite3_vfs_register(&f.vfs, 1);
}

FaultySqlite::~FaultySqlite() {
  Faults& f = faults();
  sqlite3_vfs_unregister(&f.vfs);
  sqlite3_vfs_register(f.real, 1);
  heal();
  f.fragment.clear();
}

void FaultySqlite::fail_writes(std::string fragment, int code) {
  faults().fragment = std::move(fragment);
  faults().code = code;
  faults().refused = 0;
}

void FaultySqlite::heal() { faults().code = SQLITE_OK; }

int FaultySqlite::refused() const { return faults().refused; }

}  // namespace lomarind::testing
