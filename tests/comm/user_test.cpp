// The message box and the Esc key, on the display of the test.
#include "tests/comm/comm_library.h"

#include <cstring>
#include <thread>

namespace q32::test {
namespace {

struct Search {
    const char *title;
    HWND found;
};

// Other programs may show boxes of the same title at the same time.
BOOL CALLBACK take_own_box(HWND window, LPARAM search) {
    auto &wanted = *reinterpret_cast<Search *>(search);
    char name[40] = "", title[40] = "";
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    GetClassNameA(window, name, sizeof name);
    GetWindowTextA(window, title, sizeof title);
    if (owner == GetCurrentProcessId() && std::strcmp(name, "#32770") == 0 &&
        std::strcmp(title, wanted.title) == 0)
        wanted.found = window;
    return wanted.found == nullptr;
}

HWND own_box(const char *title) {
    Search search = {title, nullptr};
    EnumWindows(take_own_box, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

// Waits for the box with that title, notes its text, and ends it as a user would.
class Clicker {
public:
    Clicker(const char *title, WPARAM button)
        : thread_([this, title, button] {
              for (int tries = 0; tries < 2000 && box_ == nullptr; ++tries, Sleep(10))
                  box_ = own_box(title);
              if (box_ == nullptr)
                  return;
              // The static with the text has the number 0xFFFF.
              GetDlgItemTextA(box_, 0xFFFF, text_, sizeof text_);
              has_ok_ = GetDlgItem(box_, IDOK) != nullptr && GetDlgItem(box_, IDCANCEL) == nullptr;
              PostMessageA(box_, WM_COMMAND, button, 0);
          }) {}
    ~Clicker() { join(); }
    Clicker(const Clicker &) = delete;
    Clicker &operator=(const Clicker &) = delete;

    void join() {
        if (thread_.joinable())
            thread_.join();
    }
    const char *text() const { return text_; }
    bool has_ok() const { return has_ok_; }

private:
    HWND box_ = nullptr;
    char text_[256] = "";
    bool has_ok_ = false;
    std::thread thread_; // last: runs when all else is there
};

TEST(MessageBox, WaitsForTheUser) {
    const CommLibrary comm;
    Clicker clicker("A title", IDOK);
    EXPECT_EQ(comm.c32ShowMb("Some text", "A title"), 1);
    clicker.join();
    EXPECT_STREQ(clicker.text(), "Some text");
    EXPECT_TRUE(clicker.has_ok());
}

TEST(MessageBox, MayHaveNoTitle) {
    const CommLibrary comm;
    Clicker clicker("", IDOK);
    EXPECT_EQ(comm.c32ShowMb("Some text", nullptr), 1);
}

TEST(MessageBox, WithoutTextIsNotShown) {
    const CommLibrary comm;
    EXPECT_EQ(comm.c32ShowMb(nullptr, "A title"), 0);
}

TEST(EscKey, IsSeenWhileDownAndOnceAfterwards) {
    const CommLibrary comm;
    comm.q32IsEscPressed(); // whatever was before
    EXPECT_EQ(comm.q32IsEscPressed(), 0);
    keybd_event(VK_ESCAPE, 0, 0, 0);
    EXPECT_EQ(comm.q32IsEscPressed(), 1);
    EXPECT_EQ(comm.q32IsEscPressed(), 1);
    keybd_event(VK_ESCAPE, 0, KEYEVENTF_KEYUP, 0);
    EXPECT_EQ(comm.q32IsEscPressed(), 0);
    keybd_event(VK_SPACE, 0, 0, 0);
    keybd_event(VK_SPACE, 0, KEYEVENTF_KEYUP, 0);
    EXPECT_EQ(comm.q32IsEscPressed(), 0);
    keybd_event(VK_ESCAPE, 0, 0, 0);
    keybd_event(VK_ESCAPE, 0, KEYEVENTF_KEYUP, 0);
    EXPECT_EQ(comm.q32IsEscPressed(), 1) << "pressed since the last call";
    EXPECT_EQ(comm.q32IsEscPressed(), 0);
}

} // namespace
} // namespace q32::test
