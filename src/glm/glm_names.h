// glm_names.h - numbers by name, for files with many groups, materials or warnings
//
// The standard's tables throw when memory is short; this one says so.
#pragma once

#include "glm/glm_util.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

struct GLMnames {
    struct Slot {
        std::string_view name;  // the caller's characters
        std::uint32_t number;
        bool used;
    };
    std::unique_ptr<Slot[], __glmFree> slots;
    std::size_t size = 0;  // a power of two, or 0
    std::size_t count = 0;
};

// The slot of `name`, or the free one where it belongs; the table has a free one.
inline GLMnames::Slot& __glmSlot(const GLMnames& names, std::string_view name) {
    std::size_t at = std::hash<std::string_view>()(name) & (names.size - 1);
    while (names.slots[at].used && names.slots[at].name != name) at = (at + 1) & (names.size - 1);
    return names.slots[at];
}

// The number of `name`, or null.
inline const std::uint32_t* __glmFindName(const GLMnames& names, std::string_view name) {
    if (names.size == 0) return nullptr;
    const GLMnames::Slot& slot = __glmSlot(names, name);
    return slot.used ? &slot.number : nullptr;
}

// Adds a name, unless it is there. False when memory is short; nothing is added then.
inline bool __glmAddName(GLMnames& names, std::string_view name, std::uint32_t number) {
    constexpr std::size_t FIRST_SIZE = 16;
    if (2 * (names.count + 1) > names.size) {
        GLMnames larger;
        larger.size = names.size == 0 ? FIRST_SIZE : 2 * names.size;
        larger.slots.reset(static_cast<GLMnames::Slot*>(std::calloc(larger.size, sizeof(GLMnames::Slot))));
        if (larger.slots == nullptr) return false;
        for (std::size_t i = 0; i < names.size; ++i)
            if (names.slots[i].used) __glmSlot(larger, names.slots[i].name) = names.slots[i];
        larger.count = names.count;
        names = std::move(larger);
    }
    GLMnames::Slot& slot = __glmSlot(names, name);
    if (slot.used) return true;
    slot = {.name = name, .number = number, .used = true};
    ++names.count;
    return true;
}
