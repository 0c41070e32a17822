#include "tests/support/native_windows.h"

#include <algorithm>
#include <gtk/gtk.h>
#include <string_view>
#include <wx/uiaction.h>

namespace zelkor::tests::native {

namespace {

std::string WithoutAccessKey(const char* label) {
  std::string caption = label == nullptr ? "" : label;
  caption.erase(std::remove(caption.begin(), caption.end(), '_'), caption.end());
  return caption;
}

bool IsMessage(void* window) { return GTK_IS_MESSAGE_DIALOG(window) != 0; }

wxPoint Centre(GtkWidget* widget) {
  int x = 0;
  int y = 0;
  GtkWidget* top = gtk_widget_get_toplevel(widget);
  gtk_widget_translate_coordinates(widget, top, 0, 0, &x, &y);
  int left = 0;
  int upper = 0;
  gdk_window_get_origin(gtk_widget_get_window(top), &left, &upper);
  return {left + x + gtk_widget_get_allocated_width(widget) / 2,
          upper + y + gtk_widget_get_allocated_height(widget) / 2};
}

void CollectButtons(GtkWidget* widget, void* out) {
  if (GTK_IS_BUTTON(widget) != 0) {
    static_cast<std::vector<GtkWidget*>*>(out)->push_back(widget);
  } else if (GTK_IS_CONTAINER(widget) != 0) {
    gtk_container_forall(GTK_CONTAINER(widget), CollectButtons, out);
  }
}

std::vector<GtkWidget*> ButtonWidgets(void* window) {
  std::vector<GtkWidget*> widgets;
  if (GTK_IS_DIALOG(window) != 0) {
    CollectButtons(GTK_WIDGET(window), &widgets);
    std::sort(widgets.begin(), widgets.end(), [](GtkWidget* a, GtkWidget* b) { return Centre(a).x < Centre(b).x; });
  }
  return widgets;
}

void CollectToolButtons(GtkWidget* widget, void* out) {
  if (GTK_IS_TOOL_BUTTON(widget) != 0) {
    const char* label = gtk_tool_button_get_label(GTK_TOOL_BUTTON(widget));
    static_cast<std::vector<Button>*>(out)->push_back({.caption = WithoutAccessKey(label), .centre = Centre(widget)});
  } else if (GTK_IS_CONTAINER(widget) != 0) {
    gtk_container_forall(GTK_CONTAINER(widget), CollectToolButtons, out);
  }
}

}  // namespace

Watched& WatchedState(void* window) {
  constexpr const char* kKey = "zelkor-watched";
  if (g_object_get_data(G_OBJECT(window), kKey) == nullptr) {
    g_object_set_data_full(G_OBJECT(window), kKey, new Watched,
                           [](void* state) { delete static_cast<Watched*>(state); });
  }
  return *static_cast<Watched*>(g_object_get_data(G_OBJECT(window), kKey));
}

// GTK takes the data of a destroyed widget away early; without a reference it would take the memory too.
KeepAlive::KeepAlive(void* window) : window_(g_object_ref(window)) {}
KeepAlive::~KeepAlive() { g_object_unref(window_); }

std::vector<void*> ModalWindows() {
  std::vector<void*> modal;
  GList* all = gtk_window_list_toplevels();
  for (GList* entry = all; entry != nullptr; entry = entry->next) {
    if (gtk_widget_get_mapped(GTK_WIDGET(entry->data)) != 0 && gtk_window_get_modal(GTK_WINDOW(entry->data)) != 0) {
      modal.push_back(entry->data);
    }
  }
  g_list_free(all);
  return modal;
}

bool IsActive(void* window) { return gtk_window_is_active(GTK_WINDOW(window)) != 0; }

bool NewWindowsGetTheKeyboard() { return true; }

bool IsOnScreen(void* window) { return gtk_widget_get_visible(GTK_WIDGET(window)) != 0; }

void Close(void* window) {
  if (GTK_IS_DIALOG(window) != 0) {
    gtk_dialog_response(GTK_DIALOG(window), GTK_RESPONSE_DELETE_EVENT);
  } else {
    gtk_window_close(GTK_WINDOW(window));
  }
}

std::string Title(void* window) {
  const char* title = gtk_window_get_title(GTK_WINDOW(window));
  return title == nullptr ? "" : title;
}

std::string MessageText(void* window) {
  if (!IsMessage(window)) return {};
  std::string text;
  for (const char* property : {"text", "secondary-text"}) {
    char* part = nullptr;
    g_object_get(window, property, &part, nullptr);
    if (part != nullptr && *part != '\0') text += (text.empty() ? "" : "\n") + std::string(part);
    g_free(part);
  }
  return text;
}

std::string MessageIcon(void* window) {
  if (!IsMessage(window)) return {};
  GtkMessageType type = GTK_MESSAGE_OTHER;
  g_object_get(window, "message-type", &type, nullptr);
  switch (type) {
    case GTK_MESSAGE_INFO:
      return "info";
    case GTK_MESSAGE_WARNING:
      return "warning";
    case GTK_MESSAGE_QUESTION:
      return "question";
    case GTK_MESSAGE_ERROR:
      return "error";
    case GTK_MESSAGE_OTHER:
      break;
  }
  return {};
}

std::vector<Button> Buttons(void* window) {
  std::vector<Button> buttons;
  for (GtkWidget* widget : ButtonWidgets(window)) {
    buttons.push_back(
        {.caption = WithoutAccessKey(gtk_button_get_label(GTK_BUTTON(widget))), .centre = Centre(widget)});
  }
  return buttons;
}

std::string DefaultButton(void* window) {
  GtkWidget* widget = gtk_window_get_default_widget(GTK_WINDOW(window));
  if (widget == nullptr || GTK_IS_BUTTON(widget) == 0) return {};
  return WithoutAccessKey(gtk_button_get_label(GTK_BUTTON(widget)));
}

std::vector<Button> ToolButtons(void* window) {
  std::vector<Button> buttons;
  CollectToolButtons(GTK_WIDGET(window), &buttons);
  return buttons;
}

bool MenuIsOpen() { return GTK_IS_MENU(gtk_grab_get_current()) != 0; }

bool OpensMenuOfItsOwn(int /*key*/, int /*modifiers*/) { return false; }

std::chrono::milliseconds DoubleClickTime() { return {}; }

void FinishKey(int /*key*/, int /*modifiers*/) {}

std::optional<wxPoint> TrayIcon() {
  std::optional<wxPoint> centre;
  GList* windows = gtk_window_list_toplevels();
  for (GList* link = windows; link != nullptr; link = link->next) {
    auto* widget = GTK_WIDGET(link->data);
    // The icon is a window of ours that the tray has taken in.
    if (std::string_view(G_OBJECT_TYPE_NAME(widget)) != "GtkTrayIcon" || !gtk_widget_get_mapped(widget)) continue;
    GdkWindow* window = gtk_widget_get_window(widget);
    int x = 0;
    int y = 0;
    gdk_window_get_origin(window, &x, &y);
    centre = wxPoint(x + gdk_window_get_width(window) / 2, y + gdk_window_get_height(window) / 2);
  }
  g_list_free(windows);
  return centre;
}

void ClickTrayIcon(wxMouseButton button) {
  wxUIActionSimulator mouse;
  mouse.MouseMove(TrayIcon().value());
  ServerRoundTrip();
  mouse.MouseClick(button);
}

void TakeTrayAway() {
  gdk_selection_owner_set(nullptr, gdk_atom_intern_static_string("_NET_SYSTEM_TRAY_S0"), GDK_CURRENT_TIME, FALSE);
  ServerRoundTrip();
}

void ForgetScreen() {
  GdkWindow* root = gdk_get_default_root_window();
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  cairo_t* drawing = gdk_cairo_create(root);
  G_GNUC_END_IGNORE_DEPRECATIONS
  cairo_surface_mark_dirty(cairo_get_target(drawing));
  cairo_destroy(drawing);
}

void ServeIdle() {}

void ServerRoundTrip() { gdk_display_sync(gdk_display_get_default()); }

}  // namespace zelkor::tests::native
