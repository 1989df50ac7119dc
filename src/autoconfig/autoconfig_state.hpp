// The automatic-configuration records of an instance: the caller's limits
// (AutoConfigSettings) and the calculated figures (Recommendation). Both are
// plain C records handed to callers as they are; the strings they point at
// are owned here and released when replaced or when the instance goes.
#pragma once

#include <cstdint>
#include <string_view>

#include "dpl/dpl.h"

struct InstallControlBlock;

namespace dpl::autoconfig {

inline constexpr uint32_t kRecordSignature = 0x5844504Cu;
inline constexpr int kStatusSlots = 50;
inline constexpr int kUnknownTypeSlot = 49;
inline constexpr int kSpaceEntries = 6;

// Stages of the recommendation.
inline constexpr int32_t kStageCalculated = 2;
inline constexpr int32_t kStageDefaultsLoaded = 3;

// Initial figures of the settings.
inline constexpr int32_t kDefaultMaxUsers = 20;
inline constexpr int32_t kDefaultMaxDsUsers = 5;
inline constexpr int32_t kDefaultRtoPolicy = 60;
inline constexpr int64_t kDefaultMaxDiskKb = 314572800;
inline constexpr int64_t kDefaultMaxMemKb = 134217728;
inline constexpr double kDefaultLruMinDirty = 70.0;
inline constexpr double kDefaultLruMaxDirty = 80.0;

class State {
public:
    State();
    ~State();
    State(const State &) = delete;
    State &operator=(const State &) = delete;

    AutoConfigSettings settings{};
    Recommendation recommendation{};
};

// Fills the settings with their initial values and resets the
// recommendation: 0, or -967 for a null state.
int32_t init_autoconfig(State *state);

// Zeroes the record, writes its signature, and gives the six space entries
// their index as kind and one chunk. Paths it held are released.
void reset_recommendation(Recommendation &record);

// Replaces an owned string of a record with a copy of `text`; false (and the
// old string kept) when memory runs out.
bool replace_text(char *&field, std::string_view text);
void release_text(char *&field);

// The state of the block's current instance, or null for a bad block or no
// current instance.
State *state_of(InstallControlBlock *block);

}  // namespace dpl::autoconfig
