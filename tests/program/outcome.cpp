// One recording to its end, whatever that is.

#include "tests/program/outcome.h"

#include <algorithm>
#include <set>

namespace user {

namespace {

bool isLast(const std::string& notice) {
    return notice != "Finishing clip…" && !notice.starts_with("Clip saved; retention");
}

std::vector<std::string> noticesFrom(std::size_t first) {
    std::vector<std::string> texts;
    const auto all = desktop::balloons();
    for (std::size_t at = first; at < all.size(); ++at) texts.push_back(all[at].text);
    return texts;
}

bool isWritten(int samples) {
    return static_cast<int>(callsOf("IMFSinkWriter::WriteSample").size()) >= samples;
}

}  // namespace

bool isOutOfSight(const std::string& operation) {
    static const std::set<std::string> operations = {
        "PostMessageW",      "SetCapture",   "SetForegroundWindow", "SetLayeredWindowAttributes",
        "SetWindowLongPtrW", "SetWindowPos", "SetWindowRgn",        "Shell_NotifyIconW"};
    return operations.contains(operation);
}

Outcome recordOneClip(int samples) {
    const std::size_t before = desktop::balloons().size();
    const std::vector<std::string> old = clips();
    const auto hasEnded = [&] {
        const bool isGivenUp = desktop::faultStruck() && isOutOfSight(desktop::struckCall());
        return isGivenUp || std::ranges::any_of(noticesFrom(before), isLast);
    };
    desktop::startCallLog();
    pressShortcut();
    await("the sheet or a notice", [&] { return sheetIsUp() || hasEnded(); });
    if (!hasEnded()) {
        drag({100, 100, 420, 340});
        await("a sample or a notice", [&] { return isWritten(samples) || hasEnded(); });
    }
    if (!hasEnded()) pressEsc();
    await("the last notice", hasEnded);
    Outcome outcome;
    outcome.notices = noticesFrom(before);
    for (const std::string& name : clips())
        if (!std::ranges::binary_search(old, name)) outcome.clip = recordings() / name;
    return outcome;
}

bool isPartialFileLeft() {
    return std::ranges::any_of(clips(), [](const std::string& name) {
        return name.find(".partial") != std::string::npos;
    });
}

}  // namespace user
