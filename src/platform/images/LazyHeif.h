#pragma once

// libheif's functions, loaded when they are used: it brings a dozen codecs along.

#include "LazyLibrary.h"

#include <libheif/heif.h>

// clang-format off
#define TESKAL_HEIF_FUNCTIONS(USE, Table)                                                                    \
    USE(heif, 1, heif_context_alloc, Table)                                                                  \
    USE(heif, 1, heif_context_free, Table)                                                                   \
    USE(heif, 1, heif_context_get_primary_image_handle, Table)                                               \
    USE(heif, 1, heif_context_read_from_reader, Table)                                                       \
    USE(heif, 1, heif_context_set_maximum_image_size_limit, Table)                                           \
    USE(heif, 1, heif_decode_image, Table)                                                                   \
    USE(heif, 1, heif_decoding_options_alloc, Table)                                                         \
    USE(heif, 1, heif_decoding_options_free, Table)                                                          \
    USE(heif, 1, heif_image_get_height, Table)                                                               \
    USE(heif, 1, heif_image_get_plane_readonly, Table)                                                       \
    USE(heif, 1, heif_image_get_width, Table)                                                                \
    USE(heif, 1, heif_image_handle_get_height, Table)                                                        \
    USE(heif, 1, heif_image_handle_get_list_of_metadata_block_IDs, Table)                                    \
    USE(heif, 1, heif_image_handle_get_metadata, Table)                                                      \
    USE(heif, 1, heif_image_handle_get_metadata_size, Table)                                                 \
    USE(heif, 1, heif_image_handle_get_nclx_color_profile, Table)                                            \
    USE(heif, 1, heif_image_handle_get_raw_color_profile, Table)                                             \
    USE(heif, 1, heif_image_handle_get_raw_color_profile_size, Table)                                        \
    USE(heif, 1, heif_image_handle_get_width, Table)                                                         \
    USE(heif, 1, heif_image_handle_has_alpha_channel, Table)                                                 \
    USE(heif, 1, heif_image_handle_is_premultiplied_alpha, Table)                                            \
    USE(heif, 1, heif_image_handle_release, Table)                                                           \
    USE(heif, 1, heif_image_release, Table)                                                                  \
    USE(heif, 1, heif_nclx_color_profile_free, Table)
// clang-format on

namespace teskal {

struct LazyHeif {
    TESKAL_HEIF_FUNCTIONS(TESKAL_LAZY_MEMBER, LazyHeif)

    /// Loads it the first time.
    static const LazyHeif& get() {
        static const LazyHeif loaded;
        return loaded;
    }
    /// Whether the library can be used; nothing of it may be called otherwise.
    static bool isThere() { return get().isComplete(); }

private:
    bool isComplete() const { return true TESKAL_HEIF_FUNCTIONS(TESKAL_LAZY_IS_THERE, LazyHeif); }
};

TESKAL_HEIF_FUNCTIONS(TESKAL_LAZY_CALL, LazyHeif)

} // namespace teskal
