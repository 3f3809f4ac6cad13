// The forms of pixels that the display's windows can have.

#include "platform/hosts/x11/visual.h"

#include "platform/hosts/x11/display.h"

namespace host::x11 {

Visual findVisual(xcb_visualid_t id) {
    for (auto depths = xcb_screen_allowed_depths_iterator(&screen()); depths.rem;
         xcb_depth_next(&depths)) {
        auto visuals = xcb_depth_visuals_iterator(depths.data);
        for (; visuals.rem; xcb_visualtype_next(&visuals))
            if (visuals.data->visual_id == id) return {visuals.data, depths.data->depth};
    }
    return {};
}

Visual rootVisual() { return findVisual(screen().root_visual); }

}  // namespace host::x11
