// The open handles of a built-in library.
//
// A look-up takes no lock: it pins the slot while an operation runs on it. Closing waits until no pin is
// left, so that it never frees an interface under another thread's read or write.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include "wrenlib/atomic_wait.h"

namespace vnxtest {

// `Interface` offers Interrupt(): every operation that waits inside it returns soon.
template <typename Interface>
class HandleTable {
    struct alignas(64) Slot {
        std::atomic<std::int32_t> handle{kFree};
        std::atomic<std::uint32_t> users{0};
        std::unique_ptr<Interface> object;
    };

public:
    static constexpr std::size_t kCapacity = 64;

    // Pins one interface for the length of an operation; empty if the handle is not open.
    class Pin {
    public:
        Pin() = default;
        explicit Pin(Slot* slot) : m_slot(slot) {}
        ~Pin() {
            if (m_slot) {
                Release(*m_slot);
            }
        }
        Pin(const Pin&) = delete;
        Pin& operator=(const Pin&) = delete;
        explicit operator bool() const { return m_slot != nullptr; }
        Interface* operator->() const { return m_slot->object.get(); }

    private:
        Slot* m_slot = nullptr;
    };

    HandleTable() = default;
    ~HandleTable() = default;

    // Stores `object` under `handle` (0 or more, not in use). False if the table is full. Any thread.
    bool Insert(std::int32_t handle, std::unique_ptr<Interface> object) {
        for (Slot& slot : m_slots) {
            std::int32_t expected = kFree;
            if (slot.handle.compare_exchange_strong(expected, kChanging)) {
                slot.object = std::move(object);
                slot.handle.store(handle);
                return true;
            }
        }
        return false;
    }

    Pin Find(std::int32_t handle) {
        if (handle < 0) {
            return Pin();
        }
        for (Slot& slot : m_slots) {
            if (slot.handle.load(std::memory_order_relaxed) != handle) {
                continue;
            }
            // The pin comes before the second look-up; Remove() marks the slot before it reads the pins.
            // Either this thread sees the mark or Remove() sees the pin.
            slot.users.fetch_add(1);
            if (slot.handle.load() == handle) {
                return Pin(&slot);
            }
            Release(slot);
        }
        return Pin();
    }

    // Removes the interface of `handle`, interrupts the operations on it and waits for their end. Null if
    // the handle is not open. Any thread, but not from within an operation on the same handle: it would
    // wait for itself.
    std::unique_ptr<Interface> Remove(std::int32_t handle) {
        if (handle < 0) {
            return nullptr;
        }
        for (Slot& slot : m_slots) {
            std::int32_t expected = handle;
            if (!slot.handle.compare_exchange_strong(expected, kChanging)) {
                continue;
            }
            slot.object->Interrupt();
            for (std::uint32_t users = slot.users.load(); users != 0; users = slot.users.load()) {
                WaitWhile(slot.users, users);
            }
            std::unique_ptr<Interface> object = std::move(slot.object);
            slot.handle.store(kFree);
            return object;
        }
        return nullptr;
    }

private:
    static constexpr std::int32_t kFree = -1;
    static constexpr std::int32_t kChanging = -2;

    static void Release(Slot& slot) {
        if (slot.users.fetch_sub(1) == 1 && slot.handle.load() == kChanging) {
            WakeAllWaiting(slot.users);
        }
    }

    std::array<Slot, kCapacity> m_slots;
};

} // namespace vnxtest
