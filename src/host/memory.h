// The host's memory service and the containers that use it.
//
// Every data array of the module is a HostArray: it owns its storage, takes it from the memory
// service of the current analysis and gives it back there. A host that refuses an allocation makes
// the array throw MemoryRefused, which travels only inside an operation; the operation's boundary
// turns it into message 104.
#pragma once

#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace qrvml {

/// Thrown where the host refuses memory; never leaves an operation of the module.
struct MemoryRefused : std::bad_alloc {
  const char* what() const noexcept override { return "the host refused memory"; }
};

class MemoryService {
 public:
  virtual ~MemoryService() = default;

  /// Sets *address to `bytes` bytes aligned to 64, contents undefined, and returns 0. Any other
  /// result means refused; *address is then untouched. bytes > 0.
  virtual int AllocMem(void** address, std::size_t bytes) = 0;
  /// Gives back what AllocMem gave. A null address is ignored.
  virtual void FreeMem(void* address) = 0;
};

/// The memory service of the innermost MemoryScope of this thread, else of the analysis that is
/// current on it; a plain process-wide one (64-byte aligned, refused only when memory is exhausted)
/// while there is neither.
MemoryService& CurrentMemory();

/// Makes a service the current one on this thread while it lives; scopes nest.
class MemoryScope {
 public:
  explicit MemoryScope(MemoryService* memory);
  ~MemoryScope();
  MemoryScope(const MemoryScope&) = delete;
  MemoryScope& operator=(const MemoryScope&) = delete;

 private:
  MemoryService* previous_;
};

/// A fixed-size array of a trivially copyable type in host memory, aligned to 64 bytes.
///
/// Resize keeps the storage when it is large enough and not more than twice what is needed, so a
/// second run over the same data touches no fresh memory. Contents after Resize are undefined.
template <class T>
class HostArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  HostArray() = default;
  explicit HostArray(std::size_t size) { Resize(size); }
  HostArray(std::size_t size, T value) { Assign(size, value); }
  HostArray(const HostArray&) = delete;
  HostArray& operator=(const HostArray&) = delete;
  HostArray(HostArray&& other) noexcept { Swap(other); }
  HostArray& operator=(HostArray&& other) noexcept {
    HostArray(std::move(other)).Swap(*this);
    return *this;
  }
  ~HostArray() { Release(); }

  /// Makes room for `size` elements; throws MemoryRefused, and is then empty.
  void Resize(std::size_t size) {
    if (size <= capacity_ && capacity_ / 2 <= size) {
      size_ = size;
      return;
    }
    Release();
    if (size == 0) return;
    if (size > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw MemoryRefused();
    MemoryService& memory = CurrentMemory();
    void* address = nullptr;
    if (memory.AllocMem(&address, size * sizeof(T)) != 0) throw MemoryRefused();
    memory_ = &memory;
    data_ = static_cast<T*>(address);
    size_ = capacity_ = size;
  }
  /// Resize, then every element := value.
  void Assign(std::size_t size, T value) {
    Resize(size);
    Fill(value);
  }
  void Fill(T value) {
    for (std::size_t i = 0; i < size_; ++i) data_[i] = value;
  }
  /// Makes the array empty and keeps its storage for the next Resize.
  void Clear() { size_ = 0; }
  /// Gives the storage back; the array is then empty.
  void Release() noexcept {
    if (data_ != nullptr) memory_->FreeMem(data_);
    memory_ = nullptr;
    data_ = nullptr;
    size_ = capacity_ = 0;
  }
  void Swap(HostArray& other) noexcept {
    std::swap(memory_, other.memory_);
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T* data() { return data_; }
  const T* data() const { return data_; }
  T* begin() { return data_; }
  T* end() { return data_ + size_; }
  const T* begin() const { return data_; }
  const T* end() const { return data_ + size_; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  std::span<T> subspan(std::size_t first, std::size_t count) { return {data_ + first, count}; }
  std::span<const T> subspan(std::size_t first, std::size_t count) const {
    return {data_ + first, count};
  }
  operator std::span<T>() { return {data_, size_}; }
  operator std::span<const T>() const { return {data_, size_}; }

 private:
  MemoryService* memory_ = nullptr;  // the service that gave data_, or none
  T* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;  // elements that fit; size_ <= capacity_
};

}  // namespace qrvml
