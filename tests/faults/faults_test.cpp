// Failing memory and failing files: the n-th allocation or the n-th call of the file
// layer fails for n = 1, 2, 3 ... until everything succeeds. Each time the faces give
// a result code, nothing is lost, and the next call works.
//
// Allocations are counted here in place of the library's; file calls by symbols of
// this program that stand before those of the C library.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>

#include "kora/kora.h"
#include "support/small_folder.h"
#include "support/temp_folder.h"

namespace {

// Calls left until the one that fails; negative: none fails.
std::atomic<long> memory_fuse{-1};
std::atomic<long> file_fuse{-1};
std::atomic<long> live_blocks{0};
enum class Fault { kError, kInterrupted, kShort };
Fault file_fault = Fault::kError;
bool never_maps = false;     // as on a file system that cannot: files are read
bool stream_failed = false;  // what ferror says

int fail(int error) {
  errno = file_fault == Fault::kInterrupted ? EINTR : error;
  return -1;
}

bool burns(std::atomic<long>& fuse) {
  return fuse.load() >= 0 && fuse.fetch_sub(1) == 0;
}

template <class Function>
Function real(const char* name) {
  return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

void* allocate(std::size_t size) {
  if (burns(memory_fuse)) {
    throw std::bad_alloc();
  }
  void* const block = std::malloc(size != 0 ? size : 1);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  ++live_blocks;
  return block;
}

void release(void* block) noexcept {
  if (block == nullptr) {
    return;
  }
  --live_blocks;
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  return allocate(size);
}
void* operator new[](std::size_t size) {
  return allocate(size);
}
void operator delete(void* block) noexcept {
  release(block);
}
void operator delete[](void* block) noexcept {
  release(block);
}
void operator delete(void* block, std::size_t) noexcept {
  release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  release(block);
}

extern "C" {

int open(const char* path, int flags, ...) {
  if (file_fault != Fault::kShort && burns(file_fuse)) {
    return fail(EIO);
  }
  return real<int (*)(const char*, int, ...)>("open")(path, flags);
}

int stat(const char* path, struct stat* status) noexcept {
  if (file_fault == Fault::kError && burns(file_fuse)) {
    return fail(EIO);
  }
  return real<int (*)(const char*, struct stat*)>("stat")(path, status);
}

int fstat(int fd, struct stat* status) noexcept {
  const bool fails = file_fault != Fault::kInterrupted && burns(file_fuse);
  if (fails && file_fault == Fault::kError) {
    return fail(EIO);
  }
  const int code = real<int (*)(int, struct stat*)>("fstat")(fd, status);
  if (fails && code == 0) {
    status->st_size /= 2;  // as if the file had just been cut
  }
  return code;
}

void* mmap(void* at, size_t size, int protection, int flags, int fd, off_t offset) noexcept {
  if (fd >= 0 && (never_maps || (file_fault == Fault::kError && burns(file_fuse)))) {
    errno = ENODEV;
    return MAP_FAILED;
  }
  return real<void* (*)(void*, size_t, int, int, int, off_t)>("mmap")(at, size, protection, flags,
                                                                      fd, offset);
}

FILE* fopen(const char* path, const char* mode) {
  if (file_fault != Fault::kShort && burns(file_fuse)) {
    fail(EMFILE);
    return nullptr;
  }
  stream_failed = false;
  return real<FILE* (*)(const char*, const char*)>("fopen")(path, mode);
}

size_t fread(void* to, size_t size, size_t count, FILE* file) {
  const auto read = real<size_t (*)(void*, size_t, size_t, FILE*)>("fread");
  if (!burns(file_fuse)) {
    return read(to, size, count, file);
  }
  const size_t got = read(to, size, count / 2, file);
  if (file_fault == Fault::kShort) {
    return got / 2;  // the file ends here
  }
  fail(EIO);
  stream_failed = true;
  return got;
}

int ferror(FILE*) noexcept {
  return stream_failed;
}

void clearerr(FILE*) noexcept {
  stream_failed = false;
}

}  // extern "C"

namespace {

using koralite::translator::TransImpl;

constexpr const char* kDirections[] = {"en-zh", "zh-en"};
constexpr const char* kTexts[] = {"The file opens 5 percent of new york. Is it known?",
                                  "张三打开上海的文件。第三名和这个程序？"};

// The whole life of a handle. Gives the first code that was not 0 (100 for no handle).
struct Outcome {
  int code = 0;
  std::string text;
};
Outcome run(int direct, const std::string& folder, std::atomic<long>* fuse = nullptr,
            long fails_at = -1) {
  const std::string config = folder + "/engine.conf";
  const std::string input = kTexts[direct == 1 ? 0 : 1];
  Outcome outcome;
  if (fuse != nullptr) {
    *fuse = fails_at;  // from here on all is the library's
  }
  outcome.code = kora_initialize(direct, config.c_str(), folder.c_str());
  if (outcome.code == 0) {
    if (TransImpl* const handle = kora_create_decoder(direct)) {
      outcome.code = kora_translate(handle, input, outcome.text);
      kora_destroy_decoder(handle);
    } else {
      outcome.code = 100;
    }
  }
  kora_finalize();
  return outcome;
}

long open_files() {
  long count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

class Faults : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    direct_ = GetParam();
    kora_test::make_small_folder(folder_.path("m"), kDirections[direct_ == 1 ? 0 : 1]);
    expected_ = run(direct_, folder_.path("m"));
    ASSERT_EQ(expected_.code, 0);
    ASSERT_FALSE(expected_.text.empty());
    run(direct_, folder_.path("m"));  // what is made once is made
  }
  void TearDown() override {
    memory_fuse = -1;
    file_fuse = -1;
    file_fault = Fault::kError;
    never_maps = false;
  }
  // Each fault ends in a code or is got over, frees what it took, and leaves nothing
  // broken behind. `hurts`: some of them must end in a code, else none may.
  void fail_each(std::atomic<long>& fuse, const char* what, bool hurts = true) {
    const std::string folder = folder_.path("m");
    long failures = 0;
    for (long n = 0;; ++n) {
      const long files_before = open_files();
      const long before = live_blocks;
      Outcome outcome = run(direct_, folder, &fuse, n);
      const bool burnt = fuse.load() < 0;
      fuse = -1;
      const bool as_expected = outcome.code == 0 && outcome.text == expected_.text;
      // A file cut short may still be one that loads, with less in it.
      ASSERT_TRUE(outcome.code != 0 || as_expected || file_fault == Fault::kShort) << what << n;
      failures += outcome.code != 0;
      std::string().swap(outcome.text);  // assignment would keep the block
      ASSERT_EQ(live_blocks.load(), before) << what << n;
      ASSERT_EQ(open_files(), files_before) << what << n;
      if (!burnt) {
        ASSERT_TRUE(as_expected) << what << n;
        RecordProperty("calls", std::to_string(n));
        std::printf("| %s | %s | %ld | %ld |\n", what, kDirections[direct_ == 1 ? 0 : 1], n,
                    failures);
        ASSERT_EQ(failures > 0, hurts);
        return;
      }
      if (n % 16 == 0) {
        const Outcome next = run(direct_, folder);
        ASSERT_EQ(next.code, 0) << what << n;
        ASSERT_EQ(next.text, expected_.text) << what << n;
      }
    }
  }

  kora_test::TempFolder folder_;
  Outcome expected_;
  int direct_ = 0;
};

TEST_P(Faults, EachAllocationFails) {
  fail_each(memory_fuse, "allocation");
}

TEST_P(Faults, EachFileCallFails) {
  const struct {
    const char* what;
    Fault fault;
    bool reads;
  } cases[] = {{"file call fails, files mapped", Fault::kError, false},
               {"file call interrupted, files mapped", Fault::kInterrupted, false},
               {"file shortened, files mapped", Fault::kShort, false},
               {"file call fails, files read", Fault::kError, true},
               {"file call interrupted, files read", Fault::kInterrupted, true},
               {"file shortened, files read", Fault::kShort, true}};
  for (const auto& each : cases) {
    file_fault = each.fault;
    never_maps = each.reads;
    fail_each(file_fuse, each.what, each.fault != Fault::kInterrupted);
    if (HasFatalFailure()) {
      return;
    }
  }
}

// A translation that runs out of memory leaves its handle usable.
TEST_P(Faults, HandleSurvivesATranslationWithoutMemory) {
  const std::string folder = folder_.path("m");
  const std::string config = folder + "/engine.conf";
  ASSERT_EQ(kora_initialize(direct_, config.c_str(), folder.c_str()), 0);
  TransImpl* const handle = kora_create_decoder(direct_);
  ASSERT_NE(handle, nullptr);
  const std::string input = kTexts[direct_ == 1 ? 0 : 1];
  long failures = 0;
  for (long n = 0;; ++n) {
    std::string output;
    memory_fuse = n;
    const int code = kora_translate(handle, input, output);
    const bool burnt = memory_fuse.load() < 0;
    memory_fuse = -1;
    failures += code != 0;
    ASSERT_TRUE(code == 0 || code == 3) << n;
    ASSERT_EQ(kora_translate(handle, input, output), 0) << n;
    ASSERT_EQ(output, expected_.text) << n;
    if (!burnt) {
      break;
    }
  }
  EXPECT_GT(failures, 0);
  kora_destroy_decoder(handle);
  kora_finalize();
}

INSTANTIATE_TEST_SUITE_P(BothDirections, Faults, ::testing::Values(0, 1));

}  // namespace
