#include "platform/hosts/x11/display.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/shape.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <cerrno>
#include <deque>
#include <map>
#include <stdexcept>

#include "platform/core/descriptor.h"

namespace host::x11 {

namespace {

xcb_connection_t* server = nullptr;
const xcb_screen_t* shownScreen = nullptr;
int shownNumber = 0;
FirstEvents first;
std::map<std::string, xcb_atom_t> atoms;
std::deque<RawEvent> kept;
int descriptor = -1;
int keptSignal = -1;  // readable while `kept` holds something

const xcb_screen_t* screenOf(xcb_connection_t* opened, int number) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(opened));
    for (; number > 0; --number) xcb_screen_next(&screens);
    return screens.data;
}

// Returns the number of its first event.
int need(xcb_extension_t& extension, const char* name) {
    const xcb_query_extension_reply_t* const found = xcb_get_extension_data(server, &extension);
    if (!found || !found->present)
        throw std::runtime_error(std::string("The display lacks the extension ") + name);
    return found->first_event;
}

// An extension answers only a client that has said which version it speaks.
void agreeOnVersions() {
    const auto shm = await(xcb_shm_query_version_reply, xcb_shm_query_version(server));
    // A display on another machine may offer the extension, too.
    if (!shm || shm->major_version * 100 + shm->minor_version < 102 || !shareImage(server, 1, 1))
        throw std::runtime_error("The display cannot share memory with this program");
    const auto randr = await(xcb_randr_query_version_reply, xcb_randr_query_version(server, 1, 5));
    if (!randr || randr->major_version * 100 + randr->minor_version < 105)
        throw std::runtime_error("The display's RANDR is older than 1.5");
    await(xcb_xfixes_query_version_reply, xcb_xfixes_query_version(server, 5, 0));
    await(xcb_damage_query_version_reply, xcb_damage_query_version(server, 1, 1));
    await(xcb_shape_query_version_reply, xcb_shape_query_version(server));
    // As of 2.1, raw events also come while another client has a grab.
    await(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(server, 2, 2));
}

void needPlainPixels() {
    const Visual visual = rootVisual();
    if (visual.depth < 24 || visual.type->red_mask != 0xff0000 || visual.type->blue_mask != 0xff ||
        xcb_get_setup(server)->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
        throw std::runtime_error("The display must have 24 bits a pixel, blue lowest");
}

void makeDescriptors() {
    descriptor = epoll_create1(EPOLL_CLOEXEC);
    keptSignal = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0 || keptSignal < 0) throw std::runtime_error("Cannot wait for the display");
    watch(keptSignal);
    watch(xcb_get_file_descriptor(server));
}

void keep(xcb_generic_event_t* event) {
    kept.emplace_back(event);
    if (kept.size() == 1) eventfd_write(keptSignal, 1);
}

void keepQueuedEvents() {
    while (xcb_generic_event_t* const event = xcb_poll_for_queued_event(server)) keep(event);
}

}  // namespace

void openDisplay() {
    if (server) return;
    server = xcb_connect(nullptr, &shownNumber);
    if (xcb_connection_has_error(server)) {
        xcb_disconnect(server);
        server = nullptr;
        throw std::runtime_error("Cannot open the display that DISPLAY names");
    }
    shownScreen = screenOf(server, shownNumber);
    makeDescriptors();
    need(xcb_shm_id, "MIT-SHM");
    first.randr = need(xcb_randr_id, "RANDR");
    need(xcb_xfixes_id, "XFIXES");
    first.damage = need(xcb_damage_id, "DAMAGE");
    need(xcb_shape_id, "SHAPE");
    need(xcb_input_id, "XInputExtension");
    agreeOnVersions();
    needPlainPixels();
}

xcb_connection_t* connectAgain() {
    xcb_connection_t* const opened = xcb_connect(nullptr, nullptr);
    if (!xcb_connection_has_error(opened)) return opened;
    xcb_disconnect(opened);
    return nullptr;
}

xcb_connection_t* connection() { return server; }
const xcb_screen_t& screen() { return *shownScreen; }
int screenNumber() { return shownNumber; }
xcb_window_t root() { return shownScreen->root; }
const FirstEvents& firstEvents() { return first; }
bool isConnected() { return !xcb_connection_has_error(server); }

xcb_atom_t atom(const std::string& name) {
    xcb_atom_t& known = atoms[name];
    if (known) return known;
    const auto length = static_cast<std::uint16_t>(name.size());
    const auto reply =
        await(xcb_intern_atom_reply, xcb_intern_atom(server, 0, length, name.data()));
    if (reply) known = reply->atom;
    return known;
}

int eventsDescriptor() {
    keepQueuedEvents();
    return descriptor;
}

void watch(int watched, bool forWriting) {
    epoll_event event{};
    event.events = forWriting ? EPOLLIN | EPOLLOUT : EPOLLIN;
    if (epoll_ctl(descriptor, EPOLL_CTL_ADD, watched, &event) < 0)
        epoll_ctl(descriptor, EPOLL_CTL_MOD, watched, &event);
}

void unwatch(int watched) { epoll_ctl(descriptor, EPOLL_CTL_DEL, watched, nullptr); }

const xcb_generic_event_t* peekEvent() {
    if (kept.empty())
        if (xcb_generic_event_t* const event = xcb_poll_for_event(server)) keep(event);
    return kept.empty() ? nullptr : kept.front().get();
}

RawEvent takeEvent() {
    if (!peekEvent()) return nullptr;
    RawEvent event = std::move(kept.front());
    kept.pop_front();
    eventfd_t count;
    if (kept.empty()) eventfd_read(keptSignal, &count);
    return event;
}

bool carriedOut(xcb_void_cookie_t cookie) {
    return !Owned<xcb_generic_error_t>(xcb_request_check(server, cookie));
}

void synchronize() { await(xcb_get_input_focus_reply, xcb_get_input_focus(server)); }

std::unique_ptr<SharedImage> shareImage(xcb_connection_t* opened, int width, int height) {
    const std::size_t size = std::size_t(width) * std::size_t(height) * 4;
    // Memory without a name: nothing is left whichever way the process ends.
    desktop::Descriptor file(memfd_create("image", MFD_CLOEXEC));
    if (!file || ftruncate(file.get(), static_cast<off_t>(size)) != 0) return nullptr;
    void* const mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (mapped == MAP_FAILED) return nullptr;
    const std::shared_ptr<std::uint32_t[]> memory(
        static_cast<std::uint32_t*>(mapped), [size](std::uint32_t* gone) { munmap(gone, size); });

    const xcb_shm_seg_t segment = xcb_generate_id(opened);
    // Closes the file.
    const xcb_void_cookie_t attached =
        xcb_shm_attach_fd_checked(opened, segment, file.release(), 0);
    const Owned<xcb_generic_error_t> refusal(xcb_request_check(opened, attached));
    if (refusal || xcb_connection_has_error(opened)) return nullptr;
    return std::unique_ptr<SharedImage>(
        new SharedImage{opened, segment, width, height, memory, memory.get()});
}

SharedImage::~SharedImage() { xcb_shm_detach(server, segment); }

bool SharedImage::fetch(int left, int top, int begin, int end) const {
    const xcb_shm_get_image_cookie_t cookie = xcb_shm_get_image(
        server, root(), static_cast<std::int16_t>(left), static_cast<std::int16_t>(top + begin),
        static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(end - begin), ~0u,
        XCB_IMAGE_FORMAT_Z_PIXMAP, segment, static_cast<std::uint32_t>(begin * width * 4));
    return Owned<xcb_shm_get_image_reply_t>(xcb_shm_get_image_reply(server, cookie, nullptr)) !=
           nullptr;
}

void SharedImage::put(xcb_drawable_t target, xcb_gcontext_t context) const {
    const auto wide = static_cast<std::uint16_t>(width);
    const auto high = static_cast<std::uint16_t>(height);
    xcb_shm_put_image(server, target, context, wide, high, 0, 0, wide, high, 0, 0,
                      screen().root_depth, XCB_IMAGE_FORMAT_Z_PIXMAP, 0, segment, 0);
}

xcb_window_t hiddenWindow() {
    static const xcb_window_t window = [] {
        const xcb_window_t made = xcb_generate_id(server);
        const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(server, 0, made, root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
        return made;
    }();
    return window;
}

// The event of a changed property has the server's time.
xcb_timestamp_t serverTime() {
    const xcb_window_t window = hiddenWindow();
    setProperty(window, atom("WM_CLIENT_LEADER"), XCB_ATOM_WINDOW, {window});
    synchronize();
    keepQueuedEvents();
    xcb_timestamp_t time = XCB_CURRENT_TIME;
    for (const RawEvent& event : kept) {
        const auto* const change = reinterpret_cast<xcb_property_notify_event_t*>(event.get());
        if (typeOf(*event) == XCB_PROPERTY_NOTIFY && change->window == window) time = change->time;
    }
    return time;
}

namespace {

void setText(xcb_window_t window, const char* name, const char* type, const std::string& text) {
    xcb_change_property(server, XCB_PROP_MODE_REPLACE, window, atom(name), atom(type), 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
}

}  // namespace

std::vector<std::uint32_t> numberProperty(xcb_window_t window, xcb_atom_t name) {
    const std::uint32_t most = 1 << 16;
    const auto reply = await(xcb_get_property_reply,
                             xcb_get_property(server, 0, window, name, XCB_ATOM_ANY, 0, most));
    if (!reply || reply->format != 32) return {};
    const auto* const values = static_cast<std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

void setProperty(xcb_window_t window, xcb_atom_t name, xcb_atom_t type,
                 const std::vector<std::uint32_t>& values) {
    xcb_change_property(server, XCB_PROP_MODE_REPLACE, window, name, type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
}

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

void nameWindow(xcb_window_t window, const std::string& title) {
    const std::string program = program_invocation_short_name;
    char machine[256]{};
    gethostname(machine, sizeof machine - 1);
    for (const char* const name : {"_NET_WM_NAME", "WM_NAME"})
        setText(window, name, "UTF8_STRING", title.empty() ? program : title);
    setText(window, "WM_CLASS", "STRING", program + '\0' + program + '\0');
    setText(window, "WM_CLIENT_MACHINE", "STRING", machine);
    setProperty(window, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL,
                {static_cast<std::uint32_t>(getpid())});
}

}  // namespace host::x11
