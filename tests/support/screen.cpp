#include "tests/support/screen.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "tests/support/until.h"

namespace zelkor::tests {

namespace {

// A window may go between two looks at it.
int PassOver(Display* /*display*/, XErrorEvent* /*error*/) { return 0; }

struct FreeByX {
  void operator()(void* data) const { XFree(data); }
};

}  // namespace

struct Screen::Connection {
  Display* display = nullptr;
  Window root = None;
  Window own = None;  // owns and receives selections

  [[nodiscard]] Atom Name(const char* name) const { return XInternAtom(display, name, False); }

  // A property's values: as `T`, which is long for the server's 32-bit values.
  template <typename T>
  [[nodiscard]] std::vector<T> Property(Window window, const char* name) const {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char* bytes = nullptr;
    constexpr long kMost = 1L << 20;
    if (XGetWindowProperty(display, window, Name(name), 0, kMost, False, AnyPropertyType, &type, &format, &count, &rest,
                           &bytes) != Success) {
      return {};
    }
    const std::unique_ptr<unsigned char, FreeByX> kept(bytes);
    if (bytes == nullptr || format != (sizeof(T) == 1 ? 8 : 32)) return {};
    const auto* values = reinterpret_cast<const T*>(bytes);
    return {values, values + count};
  }

  [[nodiscard]] bool HasProperty(Window window, const char* name) const {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char* bytes = nullptr;
    const int got = XGetWindowProperty(display, window, Name(name), 0, 0, False, AnyPropertyType, &type, &format,
                                       &count, &rest, &bytes);
    const std::unique_ptr<unsigned char, FreeByX> kept(bytes);
    return got == Success && type != None;
  }

  [[nodiscard]] std::string Title(Window window) const {
    const std::vector<char> text = Property<char>(window, "_NET_WM_NAME");
    return {text.begin(), text.end()};
  }
  [[nodiscard]] std::vector<Window> Windows() const { return Property<Window>(root, "_NET_CLIENT_LIST"); }
  [[nodiscard]] Window Find(const std::string& title) const {
    for (const Window window : Windows()) {
      if (Title(window) == title) return window;
    }
    return None;
  }
  [[nodiscard]] bool Viewable(Window window) const {
    XWindowAttributes attributes{};
    return XGetWindowAttributes(display, window, &attributes) != 0 && attributes.map_state == IsViewable;
  }
  [[nodiscard]] std::vector<Window> Children(Window window) const {
    Window top = None;
    Window parent = None;
    Window* children = nullptr;
    unsigned count = 0;
    if (XQueryTree(display, window, &top, &parent, &children, &count) == 0) return {};
    const std::unique_ptr<Window, FreeByX> kept(children);
    return {children, children + count};
  }
  [[nodiscard]] Window TrayIcon(Window below) const {
    for (const Window window : Children(below)) {
      if (HasProperty(window, "_XEMBED_INFO") && Viewable(window)) return window;
      if (const Window found = TrayIcon(window); found != None) return found;
    }
    return None;
  }

  void Ask(Window window, const char* what, const std::array<long, 5>& values) const {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = Name(what);
    event.xclient.format = 32;
    std::copy(values.begin(), values.end(), std::begin(event.xclient.data.l));
    XSendEvent(display, root, False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
    XSync(display, False);
  }

  void Key(KeySym key, const std::vector<KeySym>& held) const {
    const KeyCode code = XKeysymToKeycode(display, key);
    if (code == 0) throw std::runtime_error("no such key");
    std::vector<KeyCode> modifiers;
    modifiers.reserve(held.size() + 1);
    for (const KeySym modifier : held) modifiers.push_back(XKeysymToKeycode(display, modifier));
    if (held.empty() && XkbKeycodeToKeysym(display, code, 0, 0) != key) {
      modifiers.push_back(XKeysymToKeycode(display, XK_Shift_L));
    }
    for (const KeyCode modifier : modifiers) XTestFakeKeyEvent(display, modifier, True, CurrentTime);
    XTestFakeKeyEvent(display, code, True, CurrentTime);
    XTestFakeKeyEvent(display, code, False, CurrentTime);
    for (const KeyCode modifier : modifiers) XTestFakeKeyEvent(display, modifier, False, CurrentTime);
    XSync(display, False);
  }

  void Button(unsigned button) const {
    XTestFakeButtonEvent(display, button, True, CurrentTime);
    XTestFakeButtonEvent(display, button, False, CurrentTime);
    XSync(display, False);
  }
};

Screen::Screen() : x_(std::make_unique<Connection>()) {
  XSetErrorHandler(PassOver);
  x_->display = XOpenDisplay(nullptr);
  if (x_->display == nullptr) throw std::runtime_error("no display: run it by tests/gui/in_display.sh");
  x_->root = DefaultRootWindow(x_->display);
  x_->own = XCreateSimpleWindow(x_->display, x_->root, 0, 0, 1, 1, 0, 0, 0);
}

Screen::~Screen() { XCloseDisplay(x_->display); }

bool Screen::Until(const std::function<bool()>& condition) const { return HoldsWithin(kPatience, condition); }

std::vector<std::string> Screen::Titles() const {
  std::vector<std::string> titles;
  for (const Window window : x_->Windows()) titles.push_back(x_->Title(window));
  return titles;
}

bool Screen::Has(const std::string& title) const { return x_->Find(title) != None; }

unsigned long Screen::Shown(const std::string& title) const {
  Window window = None;
  if (!Until([&] { return (window = x_->Find(title)) != None; }))
    throw std::runtime_error("no [" + title + "] is there");
  return window;
}

unsigned long Screen::ActiveWindow() const {
  const std::vector<Window> active = x_->Property<Window>(x_->root, "_NET_ACTIVE_WINDOW");
  if (active.empty() || active.front() == None) return None;
  // The window manager tells of it before the server does it.
  Window focus = None;
  int reverts = 0;
  XGetInputFocus(x_->display, &focus, &reverts);
  if (focus == active.front()) return focus;
  for (std::vector<Window> rest = x_->Children(active.front()); !rest.empty();) {
    const Window window = rest.back();
    rest.pop_back();
    if (window == focus) return active.front();
    const std::vector<Window> below = x_->Children(window);
    rest.insert(rest.end(), below.begin(), below.end());
  }
  return None;
}

std::string Screen::Active() const {
  const Window window = ActiveWindow();
  return window == None ? std::string() : x_->Title(window);
}

void Screen::WaitUntilActive(const std::string& title) const { WaitUntilAnotherIsActive(title, None); }

void Screen::WaitUntilAnotherIsActive(const std::string& title, unsigned long before) const {
  const auto isActive = [&] {
    const Window window = ActiveWindow();
    return window != None && window != before && x_->Title(window) == title && x_->Viewable(window);
  };
  if (Until(isActive)) return;
  Picture("in-vain");
  std::string shown;
  for (const std::string& other : Titles()) shown += " [" + other + "]";
  throw std::runtime_error("in vain waited for [" + title + "]; active is [" + Active() + "] of" + shown);
}

void Screen::WaitUntilGone(const std::string& title) const {
  if (Until([&] { return !Has(title); })) return;
  Picture("in-vain");
  throw std::runtime_error("in vain waited for the end of [" + title + "]");
}

Screen::Place Screen::PlaceOf(const std::string& title) const {
  const Window window = Shown(title);
  Window top = None;
  Window child = None;
  int x = 0;
  int y = 0;
  unsigned width = 0;
  unsigned height = 0;
  unsigned border = 0;
  unsigned depth = 0;
  Place place;
  if (XGetGeometry(x_->display, window, &top, &x, &y, &width, &height, &border, &depth) == 0) return place;
  XTranslateCoordinates(x_->display, window, x_->root, 0, 0, &place.x, &place.y, &child);
  place.width = static_cast<int>(width);
  place.height = static_cast<int>(height);
  return place;
}

Screen::Place Screen::FramedPlaceOf(const std::string& title) const {
  Place place = PlaceOf(title);
  const std::vector<long> widths = x_->Property<long>(Shown(title), "_NET_FRAME_EXTENTS");
  if (widths.size() != 4) return place;
  const int left = static_cast<int>(widths[0]);
  const int top = static_cast<int>(widths[2]);
  place.x -= left;
  place.y -= top;
  place.width += left + static_cast<int>(widths[1]);
  place.height += top + static_cast<int>(widths[3]);
  return place;
}

Screen::Place Screen::Whole() const {
  const int screen = DefaultScreen(x_->display);
  return {.x = 0, .y = 0, .width = DisplayWidth(x_->display, screen), .height = DisplayHeight(x_->display, screen)};
}

void Screen::Activate(const std::string& title) const {
  (void)Shown(title);
  (void)ActivateIfThere(title);
  WaitUntilActive(title);
}

bool Screen::ActivateIfThere(const std::string& title) const {
  constexpr long kByTheUser = 2;
  // Another window that comes up may take the keyboard behind the back of the first request, so the manager is asked
  // again whenever another one has it.
  std::optional<Window> refused;
  bool active = false;
  Until([&] {
    const Window window = x_->Find(title);
    if (window == None) return true;
    const Window now = ActiveWindow();
    active = now != None && x_->Title(now) == title;
    if (!active && refused != now) {
      x_->Ask(window, "_NET_ACTIVE_WINDOW", {kByTheUser});
      refused = now;
    }
    return active;
  });
  return active;
}

void Screen::Move(const std::string& title, const Place& place) const {
  constexpr long kAllFour = 0xF00;
  constexpr long kStaticGravity = 10;  // the place of what is inside the frame
  const auto ask = [&] {
    x_->Ask(Shown(title), "_NET_MOVERESIZE_WINDOW",
            {kAllFour | kStaticGravity, place.x, place.y, place.width, place.height});
  };
  if (!Holds(title, place, ask)) throw std::runtime_error("[" + title + "] can not be moved");
}

bool Screen::Stays(const std::string& title, const Place& place) const {
  return Holds(title, place, [] {});
}

bool Screen::Holds(const std::string& title, const Place& place, const std::function<void()>& whenElsewhere) const {
  constexpr int kLooks = 30;
  int held = 0;
  return Until([&] {
    held = PlaceOf(title) == place ? held + 1 : 0;
    if (held == 0) whenElsewhere();
    return held == kLooks;
  });
}

void Screen::Close(const std::string& title) const { x_->Ask(Shown(title), "_NET_CLOSE_WINDOW", {}); }

void Screen::CloseIfThere(const std::string& title) const {
  if (const Window window = x_->Find(title); window != None) x_->Ask(window, "_NET_CLOSE_WINDOW", {});
}

void Screen::CutOff(const std::string& title) const {
  XKillClient(x_->display, Shown(title));
  XSync(x_->display, False);
}

void Screen::Press(const std::string& keys) const {
  std::vector<KeySym> held;
  std::size_t at = 0;
  for (std::size_t plus = keys.find('+'); plus != std::string::npos; plus = keys.find('+', at)) {
    held.push_back(XStringToKeysym((keys.substr(at, plus - at) + "_L").c_str()));
    if (keys.compare(at, plus - at, "Ctrl") == 0) held.back() = XK_Control_L;
    at = plus + 1;
  }
  x_->Key(XStringToKeysym(keys.substr(at).c_str()), held);
}

void Screen::Type(const std::string& text) const {
  // The key symbols of ASCII are its codes.
  for (const char character : text) {
    x_->Key(character == '\n' ? XK_Return : static_cast<KeySym>(static_cast<unsigned char>(character)), {});
  }
}

void Screen::Click(const std::string& title, int x, int y, unsigned button) const {
  const Place place = PlaceOf(title);
  XTestFakeMotionEvent(x_->display, -1, place.x + x, place.y + y, CurrentTime);
  x_->Button(button);
}

void Screen::DoubleClick(const std::string& title, int x, int y) const {
  Click(title, x, y);
  x_->Button(1);
}

std::optional<std::string> Screen::MarkedBy(const std::string& keys, std::chrono::milliseconds within) const {
  Display* display = x_->display;
  // What is marked belongs to the program that shows it, from now on to nobody's but ours.
  XSetSelectionOwner(display, XA_PRIMARY, x_->own, CurrentTime);
  Press(keys);
  const auto end = std::chrono::steady_clock::now() + within;
  const auto marked = [&] {
    const Window owner = XGetSelectionOwner(display, XA_PRIMARY);
    return owner != x_->own && owner != None;
  };
  if (!Until([&] { return marked() || std::chrono::steady_clock::now() > end; }) || !marked()) return std::nullopt;
  XConvertSelection(display, XA_PRIMARY, x_->Name("UTF8_STRING"), x_->Name("MARKED"), x_->own, CurrentTime);
  XEvent event{};
  if (!Until([&] { return XCheckTypedWindowEvent(display, x_->own, SelectionNotify, &event) != 0; })) {
    return std::nullopt;
  }
  const std::vector<char> text = x_->Property<char>(x_->own, "MARKED");
  return std::string(text.begin(), text.end());
}

std::string Screen::TextOfBox(const std::string& title) const {
  WaitUntilActive(title);
  // Among the buttons the tab key reaches the text, which is marked when it has the keyboard.
  std::optional<std::string> text;
  if (!Until([&] { return (text = MarkedBy("Tab")).has_value(); })) {
    Picture("in-vain");
    throw std::runtime_error("nothing to mark in [" + title + "]");
  }
  return text.value_or("");
}

bool Screen::HasTrayIcon() const { return x_->TrayIcon(x_->root) != None; }

bool Screen::ClickTrayIcon(unsigned button) const {
  if (!Until([&] { return HasTrayIcon(); })) return false;
  const Window icon = x_->TrayIcon(x_->root);
  Window child = None;
  XWindowAttributes attributes{};
  int x = 0;
  int y = 0;
  XGetWindowAttributes(x_->display, icon, &attributes);
  XTranslateCoordinates(x_->display, icon, x_->root, attributes.width / 2, attributes.height / 2, &x, &y, &child);
  XTestFakeMotionEvent(x_->display, -1, x, y, CurrentTime);
  x_->Button(button);
  return true;
}

void Screen::Picture(const std::string& name) const {
  const char* folder = std::getenv("ZELKOR_SCREENSHOTS");
  if (folder == nullptr) return;
  XWindowAttributes attributes{};
  XGetWindowAttributes(x_->display, x_->root, &attributes);
  XImage* image = XGetImage(x_->display, x_->root, 0, 0, static_cast<unsigned>(attributes.width),
                            static_cast<unsigned>(attributes.height), AllPlanes, ZPixmap);
  if (image == nullptr) return;
  std::ofstream out(std::string(folder) + "/" + name + ".ppm", std::ios::binary);
  out << "P6 " << image->width << " " << image->height << " 255\n";
  for (int y = 0; y < image->height; ++y) {
    for (int x = 0; x < image->width; ++x) {
      const unsigned long pixel = XGetPixel(image, x, y);
      for (const int shift : {16, 8, 0}) out.put(static_cast<char>(pixel >> shift & 0xFFU));
    }
  }
  XDestroyImage(image);
}

}  // namespace zelkor::tests
