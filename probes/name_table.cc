#include "probes/name_table.h"

#include <cstring>

NameTable::NameTable(std::size_t expected) {
  std::size_t slots = 16;
  while (slots < expected * 2) {
    slots *= 2;
  }
  slots_.assign(slots, 0);
  entries_.reserve(expected);
  chars_.reserve(expected * 12);
}

uint64_t NameTable::Hash(std::string_view name) {
  // FNV-1a, then a final mix so that the low bits (the slot) depend on
  // every byte.
  uint64_t hash = 14695981039346656037ull;
  for (const char c : name) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ull;
  }
  hash ^= hash >> 29;
  hash *= 0xbf58476d1ce4e5b9ull;
  hash ^= hash >> 32;
  return hash;
}

std::size_t NameTable::SlotOf(std::string_view name, uint64_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = static_cast<std::size_t>(hash) & mask;
  for (;;) {
    const uint32_t index = slots_[slot];
    if (index == 0) {
      return slot;
    }
    const Entry& entry = entries_[index - 1];
    if (entry.hash == hash && entry.length == name.size() &&
        std::memcmp(chars_.data() + entry.offset, name.data(), name.size()) ==
            0) {
      return slot;
    }
    slot = (slot + 1) & mask;
  }
}

const bool* NameTable::Find(std::string_view name, uint64_t hash) const {
  const uint32_t index = slots_[SlotOf(name, hash)];
  return index == 0 ? nullptr : &entries_[index - 1].flag;
}

bool NameTable::Insert(std::string_view name, uint64_t hash, bool flag) {
  std::size_t slot = SlotOf(name, hash);
  if (slots_[slot] != 0) {
    return false;
  }
  if ((entries_.size() + 1) * 2 > slots_.size()) {
    Grow();
    slot = SlotOf(name, hash);
  }
  entries_.push_back(Entry{hash, static_cast<uint32_t>(chars_.size()),
                           static_cast<uint32_t>(name.size()), flag});
  chars_.append(name.data(), name.size());
  slots_[slot] = static_cast<uint32_t>(entries_.size());
  return true;
}

void NameTable::Grow() {
  slots_.assign(slots_.size() * 2, 0);
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    std::size_t slot = static_cast<std::size_t>(entries_[i].hash) & mask;
    while (slots_[slot] != 0) {
      slot = (slot + 1) & mask;
    }
    slots_[slot] = static_cast<uint32_t>(i + 1);
  }
}
