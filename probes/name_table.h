#ifndef TESSEL_PROBES_NAME_TABLE_H_
#define TESSEL_PROBES_NAME_TABLE_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A set of names for the header scan's inner loops: an open-addressing
/// hash table over one character arena, so that looking up a name that is
/// already there allocates nothing and touches little memory. Each name
/// carries a flag chosen by the user of the table (the scan marks whether
/// a name is kept or ignored). The caller computes the hash once with
/// `Hash` and hands it to every table the name is looked up in.
class NameTable {
 public:
  /// An empty table sized for about `expected` names.
  explicit NameTable(std::size_t expected = 256);

  /// The hash of `name` that every table uses.
  static uint64_t Hash(std::string_view name);

  /// Adds `name`, whose hash is `hash`, with `flag`, unless it is there.
  /// Returns true when it was added.
  bool Insert(std::string_view name, uint64_t hash, bool flag);

  /// Looks `name` up; returns nullptr when absent, else a pointer to its
  /// flag (valid until the next insertion).
  const bool* Find(std::string_view name, uint64_t hash) const;

  /// Number of names held.
  std::size_t size() const { return entries_.size(); }

  /// The name of entry `index` (in insertion order); valid until the next
  /// insertion.
  std::string_view name(std::size_t index) const {
    const Entry& entry = entries_[index];
    return std::string_view(chars_.data() + entry.offset, entry.length);
  }
  /// The hash of entry `index`.
  uint64_t hash(std::size_t index) const { return entries_[index].hash; }
  /// The flag of entry `index`.
  bool flag(std::size_t index) const { return entries_[index].flag; }

 private:
  struct Entry {
    uint64_t hash;
    uint32_t offset;
    uint32_t length;
    bool flag;
  };
  // Finds the slot of `name`, or the empty slot where it would go.
  std::size_t SlotOf(std::string_view name, uint64_t hash) const;
  // Doubles the slot array and re-places every entry.
  void Grow();

  // Entry index + 1 per slot; 0 marks an empty slot. The size is a power
  // of two and kept at least twice the number of entries.
  std::vector<uint32_t> slots_;
  std::vector<Entry> entries_;
  std::string chars_;
};

#endif  // TESSEL_PROBES_NAME_TABLE_H_
