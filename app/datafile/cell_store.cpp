#include "datafile/cell_store.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include "datafile/read_failure.h"

namespace qrvml {

namespace {

// The system allows a process some ten thousand mappings: many blocks share one.
constexpr std::size_t kExtentBytes = std::size_t{64} << 20;

std::size_t PageBytes() {
  static const auto bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return bytes;
}

std::size_t MemoryOfTheProgram() {
  const auto machine = static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) * PageBytes();
  std::size_t allowed = machine;
  for (const char* path :
       {"/sys/fs/cgroup/memory.max", "/sys/fs/cgroup/memory/memory.limit_in_bytes"}) {
    std::size_t limit = 0;
    if (std::ifstream(path) >> limit) allowed = std::min(allowed, limit);
  }
  return allowed;
}

// /tmp often lies in memory itself, /var/tmp does not.
std::string TemporaryFolder() {
  const char* folder = std::getenv("TMPDIR");
  return folder && *folder ? folder : "/var/tmp";
}

[[noreturn]] void FailToKeep(const std::string& folder, int code) {
  FailToRead("the file is larger than the memory it may take, and its data cannot be kept in " +
                 folder + ": " + std::generic_category().message(code),
             "The environment variable TMPDIR can name a folder with more space");
}

}  // namespace

/// A file without a name that grows by extents, each mapped as a whole.
class CellFile {
 public:
  CellFile() : folder_(TemporaryFolder()) {
    handle_ = open(folder_.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC | O_EXCL, 0600);
    if (handle_ >= 0) return;
    std::string path = folder_ + "/qrvml-XXXXXX";
    handle_ = mkostemp(path.data(), O_CLOEXEC);
    if (handle_ < 0) FailToKeep(folder_, errno);
    unlink(path.c_str());
  }
  CellFile(const CellFile&) = delete;
  CellFile& operator=(const CellFile&) = delete;
  ~CellFile() {
    for (const Extent& extent : extents_) munmap(extent.start, extent.bytes);
    close(handle_);
  }

  /// `bytes`: whole pages.
  double* Take(std::size_t bytes) {
    if (extents_.empty() || extents_.back().bytes - taken_ < bytes) Grow(bytes);
    char* block = extents_.back().start + taken_;
    taken_ += bytes;
    return reinterpret_cast<double*>(block);
  }

 private:
  struct Extent {
    char* start;
    std::size_t bytes;
  };

  void Grow(std::size_t atLeast) {
    const std::size_t bytes = std::max(atLeast, kExtentBytes);
    const auto offset = static_cast<off_t>(size_);
    // Space is reserved now: a write into a mapping has no way to say that the disk is full.
    if (const int code = posix_fallocate(handle_, offset, static_cast<off_t>(bytes)); code != 0) {
      FailToKeep(folder_, code);
    }
    extents_.reserve(extents_.size() + 1);
    void* start = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, handle_, offset);
    if (start == MAP_FAILED) throw std::bad_alloc();
    extents_.push_back({static_cast<char*>(start), bytes});
    size_ += bytes;
    taken_ = 0;
  }

  const std::string folder_;
  int handle_ = -1;
  std::vector<Extent> extents_;
  std::size_t size_ = 0;   // of the file
  std::size_t taken_ = 0;  // of the last extent
};

CellBlock& CellBlock::operator=(CellBlock&& other) noexcept {
  Release();
  owned_ = std::move(other.owned_);
  file_ = std::move(other.file_);
  mapped_ = std::exchange(other.mapped_, nullptr);
  bytes_ = std::exchange(other.bytes_, 0);
  return *this;
}

void CellBlock::PutAside() const {
  if (file_) madvise(mapped_, bytes_, MADV_DONTNEED);
}

void CellBlock::Release() {
  // The pages are dropped with what they hold: neither memory nor disk keeps a block that is gone.
  if (file_) madvise(mapped_, bytes_, MADV_REMOVE);
  file_.reset();
  owned_.reset();
}

CellStore::CellStore(std::size_t memory) : left_(memory > 0 ? memory : MemoryOfTheProgram() / 2) {}

CellBlock CellStore::Take(std::size_t cells) {
  const std::size_t bytes = cells * sizeof(double);
  const std::lock_guard lock(mutex_);
  if (bytes <= left_) {
    CellBlock block(std::make_unique_for_overwrite<double[]>(cells));
    left_ -= bytes;
    return block;
  }
  left_ = 0;  // later blocks follow this one, so that neighbours lie together
  if (!file_) file_ = std::make_shared<CellFile>();
  CellBlock block;
  block.bytes_ = (bytes + PageBytes() - 1) / PageBytes() * PageBytes();
  block.mapped_ = file_->Take(block.bytes_);
  block.file_ = file_;
  return block;
}

}  // namespace qrvml
