// Local mirrors of the parameter blocks a connection has defined on the controller: what each
// block holds (in order) and the last values received for it, the table of blocks indexed by
// block identifier, and the scoped accessor that keeps one block locked while it is used.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include <vaxo/Records.hpp>
#include <vaxo/Types.hpp>

#include "shared/protocol/TokenBuffer.h"

namespace Vaxo::Ubrix::Shared {

// The kind of a block. The wire code is what the define command sends for the kind.
enum class ParamBlockType : int {
    PrmBlkNone = 0,
    PrmBlkAxis = 1,
    PrmBlkSystem = 2,
    PrmBlkVr = 3,
    PrmBlkTable = 4,
    PrmBlkProgVar = 5,
    PrmBlkIO = 6,
};

// 0 axis, 1 system, 2 VR, 3 TABLE, 4 program variables, 5 I/O; -1 for a value without a block.
constexpr int paramBlockWireCode(ParamBlockType t) noexcept {
    const int v = int(t);
    return v >= 1 && v <= 6 ? v - 1 : -1;
}

// A growable array of values.
template <class T>
class DataArray {
public:
    unsigned size() const noexcept { return unsigned(m_items.size()); }
    T* data() noexcept { return m_items.data(); }
    const T* data() const noexcept { return m_items.data(); }
    T& operator[](unsigned i) { return m_items[i]; }
    const T& operator[](unsigned i) const { return m_items[i]; }
    void resize(unsigned n) { m_items.resize(n); }
    void clear() noexcept { m_items.clear(); }

protected:
    std::vector<T> m_items;
};

// An array of values that knows whether it was ever filled.
template <class T>
class ValueArraySetT : public DataArray<T> {
public:
    bool isSet() const noexcept { return m_set; }
    void markSet(bool set = true) noexcept { m_set = set; }
    void reset() {
        this->clear();
        m_set = false;
    }

private:
    bool m_set = false;
};

// The values of one block, positional: value k belongs to entry k.
template <class T>
class PrmBlkValueArrayT : public ValueArraySetT<T> {
public:
    // Room for n values (at least the n asked for), the array grown as needed.
    T* values(unsigned n) {
        if (n > this->size())
            this->resize(n);
        return this->data();
    }
};

// A value of a named parameter: nothing yet, a floating-point or an integer value.
using NumericVariant = std::variant<std::monostate, double, std::int64_t>;
// A text value: 32 bytes inline, growing in 128-byte steps.
using PrmBlkString = MemBuffer<32, 128>;

// The base of the block mirrors. Each block has its own recursive lock; PrmBlkAccessor holds
// it for as long as the block is in use.
class PrmBlk {
public:
    PrmBlk(ParamBlockType type, unsigned maxEntries) : m_type(type), m_maxEntries(maxEntries) {}
    virtual ~PrmBlk() = default;
    PrmBlk(const PrmBlk&) = delete;
    PrmBlk& operator=(const PrmBlk&) = delete;

    std::recursive_mutex& locker() noexcept { return m_lock; }
    ParamBlockType type() const noexcept { return m_type; }
    unsigned maxEntries() const noexcept { return m_maxEntries; }
    // Nothing defined yet: no entry to fetch.
    bool isVoid() const noexcept { return size() == 0; }
    virtual unsigned size() const noexcept = 0;

    // Each kind implements the one that fits it; the others fail. The new entry count is the
    // old one plus count when appending, else count; beyond the block maximum the mirror is
    // left as it was and CapacityExceeded is returned.
    virtual ErrorCode setIndices(const unsigned* indices, unsigned count, bool append);
    virtual ErrorCode setNames(const char* const* names, unsigned count, bool append);
    virtual ErrorCode setNames(const std::string_view* names, unsigned count, bool append);
    virtual ErrorCode setRanges(const Range* ranges, unsigned count, bool append);

    virtual const std::vector<unsigned>* indices() const noexcept { return nullptr; }
    virtual const std::vector<std::string>* names() const noexcept { return nullptr; }
    virtual const std::vector<Range>* ranges() const noexcept { return nullptr; }
    virtual PrmBlkValueArrayT<NumericVariant>* nvariantValues() noexcept { return nullptr; }
    virtual PrmBlkValueArrayT<PrmBlkString>* stringValues() noexcept { return nullptr; }
    virtual PrmBlkValueArrayT<double>* decimalValues() noexcept { return nullptr; }
    virtual PrmBlkValueArrayT<std::uint64_t>* uint64Values() noexcept { return nullptr; }

    // The block of a kind; null for a kind without a block class.
    static std::shared_ptr<PrmBlk> make(ParamBlockType type, unsigned maxEntries);

protected:
    ErrorCode checkCount(unsigned oldCount, unsigned added, bool append) const;

private:
    std::recursive_mutex m_lock;
    ParamBlockType m_type;
    unsigned m_maxEntries;
};

// A block mirror over its definition items (names, indices or channel runs) and its values.
// Only the setter that fits the items is implemented; the others fail as in PrmBlk.
template <class Item, class Value>
class PrmBlkT final : public PrmBlk {
public:
    using PrmBlk::PrmBlk;
    unsigned size() const noexcept override { return unsigned(m_items.size()); }

    ErrorCode setIndices(const unsigned* items, unsigned count, bool append) override {
        return store(items, count, append);
    }
    ErrorCode setNames(const char* const* items, unsigned count, bool append) override {
        return store(items, count, append);
    }
    ErrorCode setNames(const std::string_view* items, unsigned count, bool append) override {
        return store(items, count, append);
    }
    ErrorCode setRanges(const Range* items, unsigned count, bool append) override {
        return store(items, count, append);
    }

    const std::vector<unsigned>* indices() const noexcept override { return itemsIf<unsigned>(); }
    const std::vector<std::string>* names() const noexcept override { return itemsIf<std::string>(); }
    const std::vector<Range>* ranges() const noexcept override { return itemsIf<Range>(); }
    PrmBlkValueArrayT<NumericVariant>* nvariantValues() noexcept override { return valuesIf<NumericVariant>(); }
    PrmBlkValueArrayT<PrmBlkString>* stringValues() noexcept override { return valuesIf<PrmBlkString>(); }
    PrmBlkValueArrayT<double>* decimalValues() noexcept override { return valuesIf<double>(); }
    PrmBlkValueArrayT<std::uint64_t>* uint64Values() noexcept override { return valuesIf<std::uint64_t>(); }

private:
    // Names come as text pointers or views; indices and runs as themselves.
    template <class Source>
    static constexpr bool accepts =
        std::is_same_v<Item, std::string>
            ? std::is_same_v<Source, const char*> || std::is_same_v<Source, std::string_view>
            : std::is_same_v<Source, Item>;

    // Appends (or replaces with) count items; the values are dropped, the definition changed.
    template <class Source>
    ErrorCode store(const Source* items, unsigned count, bool append) {
        if constexpr (!accepts<Source>) {
            return ErrorCode::Fail;
        } else {
            if (!items && count)
                return ErrorCode::BadArgument;
            if (ErrorCode e = checkCount(size(), count, append); failed(e))
                return e;
            if (!append)
                m_items.clear();
            m_items.reserve(m_items.size() + count);
            for (unsigned i = 0; i < count; ++i) {
                if constexpr (std::is_same_v<Source, const char*>)
                    m_items.emplace_back(items[i] ? items[i] : "");
                else
                    m_items.emplace_back(items[i]);
            }
            m_values.reset();
            return ErrorCode::Success;
        }
    }
    template <class T>
    const std::vector<T>* itemsIf() const noexcept {
        if constexpr (std::is_same_v<T, Item>)
            return &m_items;
        else
            return nullptr;
    }
    template <class T>
    PrmBlkValueArrayT<T>* valuesIf() noexcept {
        if constexpr (std::is_same_v<T, Value>)
            return &m_values;
        else
            return nullptr;
    }

    std::vector<Item> m_items;
    PrmBlkValueArrayT<Value> m_values;
};

// Axis and system parameters by name.
using PrmBlk_NamedNumericVariant = PrmBlkT<std::string, NumericVariant>;
// VR and TABLE entries by index.
using PrmBlk_IndexedDecimal = PrmBlkT<unsigned, double>;
// Variables of one program by name; their values are the controller's texts.
using PrmBlk_NamedString = PrmBlkT<std::string, PrmBlkString>;
// Runs of digital I/O channels, one 64-bit word of values per run.
using PrmBlk_DigitalIO = PrmBlkT<Range, std::uint64_t>;

// The blocks of one connection. The controller's limits are read on the first define.
class ParamBlockManager {
public:
    ParamBlockManager() = default;
    ~ParamBlockManager() { clear(); }
    ParamBlockManager(const ParamBlockManager&) = delete;
    ParamBlockManager& operator=(const ParamBlockManager&) = delete;

    bool isInitialized() const;
    // Either limit 0 is BadArgument and leaves the manager uninitialised.
    ErrorCode initialize(unsigned maxBlocks, unsigned maxEntries);
    unsigned maxPrmBlkCount() const;
    unsigned maxPrmBlkEntriesPerBlock() const;

    // Runs query(maxBlocks, maxEntries) once, when not yet initialised, and initialises with
    // what it read. Callers arriving meanwhile wait for it and see its outcome.
    template <class Query>
    ErrorCode ensureInitialized(Query&& query) {
        std::lock_guard once(m_initLock);
        if (isInitialized())
            return ErrorCode::Success;
        unsigned maxBlocks = 0, maxEntries = 0;
        if (ErrorCode e = query(maxBlocks, maxEntries); failed(e))
            return e;
        return initialize(maxBlocks, maxEntries);
    }

    // A new block of the type in the lowest free slot (appending a slot while fewer than the
    // maximum exist); its identifier goes to *id. The block is returned locked by the calling
    // thread (its lock taken once), so nobody reaches it before its creator lets go. Lock
    // order everywhere: a block's lock, then the table's. Null with
    // *id = -1 for a type without a block class or when no identifier is free.
    std::shared_ptr<PrmBlk> createBlock(ParamBlockType type, int* id);
    // The block of an identifier, or null.
    std::shared_ptr<PrmBlk> find(int id) const;
    // Frees the slot when it still holds this block.
    void release(int id, const PrmBlk* block);
    // Frees every block and empties the table.
    void clear();
    // Slots in the table, free or not.
    unsigned slotCount() const;

    std::recursive_mutex& locker() const noexcept { return m_lock; }

private:
    mutable std::recursive_mutex m_lock;
    std::mutex m_initLock;
    std::vector<std::shared_ptr<PrmBlk>> m_blocks;
    // The limits are read without the table lock (the define command checks its block under
    // the engine's send lock).
    std::atomic<unsigned> m_maxBlocks{0};
    std::atomic<unsigned> m_maxEntries{0};
    std::atomic<bool> m_initialized{false};
};

// A scoped handle to one block, its lock held from construction to destruction. Every
// forwarding operation on a void accessor (no block behind it) fails with Fail.
class PrmBlkAccessor {
public:
    // The block of an identifier; void when there is none.
    PrmBlkAccessor(ParamBlockManager& manager, int id);
    // A new block of the type (see ParamBlockManager::createBlock); void when none was made.
    PrmBlkAccessor(ParamBlockManager& manager, ParamBlockType type);
    ~PrmBlkAccessor();
    PrmBlkAccessor(const PrmBlkAccessor&) = delete;
    PrmBlkAccessor& operator=(const PrmBlkAccessor&) = delete;

    bool isVoid() const noexcept { return !m_block; }
    int handle() const noexcept { return m_id; }
    PrmBlk* block() const noexcept { return m_block.get(); }
    ParamBlockType type() const noexcept { return m_block ? m_block->type() : ParamBlockType::PrmBlkNone; }
    unsigned size() const noexcept { return m_block ? m_block->size() : 0; }
    // Frees the block and its slot; the accessor is void afterwards.
    void clear();

    const std::vector<unsigned>* indices() const noexcept { return m_block ? m_block->indices() : nullptr; }
    const std::vector<std::string>* names() const noexcept { return m_block ? m_block->names() : nullptr; }
    const std::vector<Range>* ranges() const noexcept { return m_block ? m_block->ranges() : nullptr; }
    // Room for n values (-1: as many as entries are defined); null when the block has no
    // values of that type.
    NumericVariant* nvariantValues(int n = -1) { return values(m_block ? m_block->nvariantValues() : nullptr, n); }
    PrmBlkString* stringValues(int n = -1) { return values(m_block ? m_block->stringValues() : nullptr, n); }
    double* decimalValues(int n = -1) { return values(m_block ? m_block->decimalValues() : nullptr, n); }
    std::uint64_t* uint64Values(int n = -1) { return values(m_block ? m_block->uint64Values() : nullptr, n); }

    ErrorCode setIndices(const unsigned* indices, unsigned count, bool append) {
        return m_block ? m_block->setIndices(indices, count, append) : ErrorCode::Fail;
    }
    ErrorCode setNames(const char* const* names, unsigned count, bool append) {
        return m_block ? m_block->setNames(names, count, append) : ErrorCode::Fail;
    }
    ErrorCode setNames(const std::string_view* names, unsigned count, bool append) {
        return m_block ? m_block->setNames(names, count, append) : ErrorCode::Fail;
    }
    ErrorCode setRanges(const Range* ranges, unsigned count, bool append) {
        return m_block ? m_block->setRanges(ranges, count, append) : ErrorCode::Fail;
    }

private:
    template <class T>
    T* values(PrmBlkValueArrayT<T>* array, int n) {
        if (!array)
            return nullptr;
        return array->values(n < 0 ? m_block->size() : unsigned(n));
    }

    ParamBlockManager& m_manager;
    std::shared_ptr<PrmBlk> m_block;
    int m_id = -1;
};

} // namespace Vaxo::Ubrix::Shared
