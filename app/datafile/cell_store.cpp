#include "datafile/cell_store.h"

#include <fcntl.h>
#include <sys/mman.h>
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
#include <vector>

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

/// Memory that grows by extents: the program's own, or that of a file without a name.
class CellArea {
 public:
  enum class Kind { memory, disk };
  explicit CellArea(Kind kind) : kind_(kind), folder_(TemporaryFolder()) {
    if (kind == Kind::memory) return;
    handle_ = open(folder_.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC | O_EXCL, 0600);
    if (handle_ >= 0) return;
    std::string path = folder_ + "/qrvml-XXXXXX";
    handle_ = mkostemp(path.data(), O_CLOEXEC);
    if (handle_ < 0) FailToKeep(folder_, errno);
    unlink(path.c_str());
  }
  CellArea(const CellArea&) = delete;
  CellArea& operator=(const CellArea&) = delete;
  ~CellArea() {
    for (const Extent& extent : extents_) munmap(extent.start, extent.bytes);
    if (handle_ >= 0) close(handle_);
  }
  bool IsOnDisk() const { return kind_ == Kind::disk; }

  /// `bytes`: whole pages. One thread at a time.
  double* Take(std::size_t bytes) {
    if (extents_.empty() || extents_.back().bytes - taken_ < bytes) Grow(bytes);
    char* block = extents_.back().start + taken_;
    taken_ += bytes;
    return reinterpret_cast<double*>(block);
  }
  void PutAside(double* block, std::size_t bytes) const { madvise(block, bytes, MADV_DONTNEED); }
  /// The pages are dropped with what they hold: neither memory nor disk keeps a block that is gone.
  void Drop(double* block, std::size_t bytes) const {
    madvise(block, bytes, IsOnDisk() ? MADV_REMOVE : MADV_DONTNEED);
  }

 private:
  struct Extent {
    char* start;
    std::size_t bytes;
  };

  void Grow(std::size_t atLeast) {
    const std::size_t bytes = std::max(atLeast, kExtentBytes);
    const auto offset = static_cast<off_t>(size_);
    int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    if (IsOnDisk()) {
      flags = MAP_SHARED;
      // Space is reserved now: a write into a mapping has no way to say that the disk is full.
      const int code = posix_fallocate(handle_, offset, static_cast<off_t>(bytes));
      if (code != 0) FailToKeep(folder_, code);
    }
    extents_.reserve(extents_.size() + 1);
    void* start =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, flags, handle_, IsOnDisk() ? offset : 0);
    if (start == MAP_FAILED) throw std::bad_alloc();
    // The first touch of a page costs more than what is then done with it: few large ones.
    if (!IsOnDisk()) madvise(start, bytes, MADV_HUGEPAGE);
    extents_.push_back({static_cast<char*>(start), bytes});
    size_ += bytes;
    taken_ = 0;
  }

  const Kind kind_;
  const std::string folder_;
  int handle_ = -1;
  std::vector<Extent> extents_;
  std::size_t size_ = 0;   // of all extents
  std::size_t taken_ = 0;  // of the last extent
};

CellBlock& CellBlock::operator=(CellBlock&& other) noexcept {
  Release();
  area_ = std::move(other.area_);
  cells_ = std::exchange(other.cells_, nullptr);
  bytes_ = std::exchange(other.bytes_, 0);
  return *this;
}

bool CellBlock::IsOnDisk() const { return area_ && area_->IsOnDisk(); }

void CellBlock::PutAside() const {
  if (IsOnDisk()) area_->PutAside(cells_, bytes_);
}

void CellBlock::Release() {
  // What is left of an area goes as a whole.
  if (area_ && area_.use_count() > 1) area_->Drop(cells_, bytes_);
  area_.reset();
}

CellStore::CellStore(std::size_t memory) : left_(memory > 0 ? memory : MemoryOfTheProgram() / 2) {}

CellBlock CellStore::Take(std::size_t cells) {
  CellBlock block;
  block.bytes_ = (cells * sizeof(double) + PageBytes() - 1) / PageBytes() * PageBytes();
  const std::lock_guard lock(mutex_);
  const bool fits = block.bytes_ <= left_;
  left_ = fits ? left_ - block.bytes_ : 0;  // blocks behind one on the disk follow it there
  std::shared_ptr<CellArea>& area = fits ? memory_ : disk_;
  if (!area)
    area = std::make_shared<CellArea>(fits ? CellArea::Kind::memory : CellArea::Kind::disk);
  block.cells_ = area->Take(block.bytes_);
  block.area_ = area;
  return block;
}

}  // namespace qrvml
