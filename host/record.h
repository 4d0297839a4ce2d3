// Host record and version types: value types that throw nothing but
// std::bad_alloc when constructed or copied. Nothing here is thread-safe
// unless said otherwise.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace MCTree_800 {

// One data record: a contiguous array of values read by element index.
// References and GetValues() stay valid while the record lives and is not
// assigned to. REQUIRES for operator[]: index < GetSize().
template <class T>
class TRecord {
 public:
  TRecord() = default;
  explicit TRecord(std::vector<T> values) : fnValues(std::move(values)) {}

  std::size_t GetSize() const { return fnValues.size(); }
  T const& operator[](std::size_t index) const { return fnValues[index]; }
  T& operator[](std::size_t index) { return fnValues[index]; }
  T const* GetValues() const { return fnValues.data(); }

 private:
  std::vector<T> fnValues;
};

// A version record: four numbers and a build-date text.
class MCVersionImp {
 public:
  MCVersionImp(int major, int minor, int micro, int build, char const* date);
  ~MCVersionImp();
  int GetMajor() const;
  int GetMinor() const;
  int GetMicro() const;
  int GetBuild() const;
  std::string const& GetDate() const;

 private:
  int fnNumbers[4];
  std::string fnDate;
};

}  // namespace MCTree_800
