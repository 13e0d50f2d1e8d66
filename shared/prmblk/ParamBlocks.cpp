// Block mirrors, the block table with lowest-free-slot creation, and the scoped accessor.
#include "shared/prmblk/ParamBlocks.h"

namespace Vaxo::Ubrix::Shared {

// ---- PrmBlk ----

ErrorCode PrmBlk::setIndices(const unsigned*, unsigned, bool) { return ErrorCode::Fail; }
ErrorCode PrmBlk::setNames(const char* const*, unsigned, bool) { return ErrorCode::Fail; }
ErrorCode PrmBlk::setNames(const std::string_view*, unsigned, bool) { return ErrorCode::Fail; }
ErrorCode PrmBlk::setRanges(const Range*, unsigned, bool) { return ErrorCode::Fail; }

ErrorCode PrmBlk::checkCount(unsigned oldCount, unsigned added, bool append) const {
    const std::uint64_t total = append ? std::uint64_t(oldCount) + added : added;
    return total > m_maxEntries ? ErrorCode::CapacityExceeded : ErrorCode::Success;
}

std::shared_ptr<PrmBlk> PrmBlk::make(ParamBlockType type, unsigned maxEntries) {
    switch (type) {
    case ParamBlockType::PrmBlkAxis:
    case ParamBlockType::PrmBlkSystem:
        return std::make_shared<PrmBlk_NamedNumericVariant>(type, maxEntries);
    case ParamBlockType::PrmBlkVr:
    case ParamBlockType::PrmBlkTable:
        return std::make_shared<PrmBlk_IndexedDecimal>(type, maxEntries);
    case ParamBlockType::PrmBlkProgVar:
        return std::make_shared<PrmBlk_NamedString>(type, maxEntries);
    case ParamBlockType::PrmBlkIO:
        return std::make_shared<PrmBlk_DigitalIO>(type, maxEntries);
    default:
        return nullptr;
    }
}

// ---- ParamBlockManager ----

bool ParamBlockManager::isInitialized() const { return m_initialized.load(std::memory_order_acquire); }

ErrorCode ParamBlockManager::initialize(unsigned maxBlocks, unsigned maxEntries) {
    if (maxBlocks == 0 || maxEntries == 0)
        return ErrorCode::BadArgument;
    m_maxBlocks.store(maxBlocks);
    m_maxEntries.store(maxEntries);
    m_initialized.store(true, std::memory_order_release);
    return ErrorCode::Success;
}

unsigned ParamBlockManager::maxPrmBlkCount() const { return m_maxBlocks.load(); }

unsigned ParamBlockManager::maxPrmBlkEntriesPerBlock() const { return m_maxEntries.load(); }

std::shared_ptr<PrmBlk> ParamBlockManager::createBlock(ParamBlockType type, int* id) {
    if (id)
        *id = -1;
    std::shared_ptr<PrmBlk> block = PrmBlk::make(type, maxPrmBlkEntriesPerBlock());
    if (!block)
        return nullptr;
    // Locks are always taken block first, table second: the new block is locked before the
    // table (nobody else can hold it yet), so no one reaches it before its creator lets go.
    block->locker().lock();
    std::lock_guard lock(m_lock);
    std::size_t slot = 0;
    while (slot < m_blocks.size() && m_blocks[slot])
        ++slot;
    if (slot == m_blocks.size()) {
        if (m_blocks.size() >= m_maxBlocks.load()) {
            block->locker().unlock();
            return nullptr;
        }
        m_blocks.emplace_back();
    }
    m_blocks[slot] = block;
    if (id)
        *id = int(slot);
    return block;
}

std::shared_ptr<PrmBlk> ParamBlockManager::find(int id) const {
    std::lock_guard lock(m_lock);
    if (id < 0 || std::size_t(id) >= m_blocks.size())
        return nullptr;
    return m_blocks[std::size_t(id)];
}

void ParamBlockManager::release(int id, const PrmBlk* block) {
    std::lock_guard lock(m_lock);
    if (id >= 0 && std::size_t(id) < m_blocks.size() && m_blocks[std::size_t(id)].get() == block)
        m_blocks[std::size_t(id)].reset();
}

void ParamBlockManager::clear() {
    std::lock_guard lock(m_lock);
    for (auto& slot : m_blocks)
        slot.reset();
    m_blocks.clear();
}

unsigned ParamBlockManager::slotCount() const {
    std::lock_guard lock(m_lock);
    return unsigned(m_blocks.size());
}

// ---- PrmBlkAccessor ----

PrmBlkAccessor::PrmBlkAccessor(ParamBlockManager& manager, int id) : m_manager(manager) {
    std::shared_ptr<PrmBlk> block = manager.find(id);
    if (!block)
        return;
    // The table lock is not held while waiting for the block: a long fetch of one block must
    // not stall the others. The slot is checked again once the block is ours.
    block->locker().lock();
    if (manager.find(id) != block) {
        block->locker().unlock();
        return;
    }
    m_block = std::move(block);
    m_id = id;
}

PrmBlkAccessor::PrmBlkAccessor(ParamBlockManager& manager, ParamBlockType type) : m_manager(manager) {
    m_block = manager.createBlock(type, &m_id);
    if (!m_block)
        m_id = -1;
}

PrmBlkAccessor::~PrmBlkAccessor() {
    if (m_block)
        m_block->locker().unlock();
}

void PrmBlkAccessor::clear() {
    if (!m_block)
        return;
    m_manager.release(m_id, m_block.get());
    m_block->locker().unlock();
    m_block.reset();
    m_id = -1;
}

} // namespace Vaxo::Ubrix::Shared
