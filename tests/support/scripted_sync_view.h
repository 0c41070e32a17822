// A synchronisation window that is no window: it remembers what it was told to show, and shows what a test typed.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "net/sync_commands.h"

namespace zelkor::tests {

class ScriptedSyncView : public net::SyncView {
 public:
  std::vector<std::string> targets;
  int selected = -1;
  int connection = 0;
  std::array<std::optional<net::ConnectionRow>, net::kConnectionRows> rows;  // nothing: hidden
  bool excluded = false;
  bool viewEnabled = false;
  bool ftpDirShown = false;
  bool saveEnabled = false;
  bool acceptChecked = false;
  bool confirmChecked = false;
  bool logOpen = false;
  int closed = 0;  // times the window was told to close

  net::ConnectionRow& Row(int index) { return *rows[static_cast<std::size_t>(index) - 1]; }
  // Captions and values of the visible rows.
  [[nodiscard]] std::vector<std::string> Shown() const {
    std::vector<std::string> shown;
    for (const auto& row : rows) {
      if (row) shown.push_back(row->caption + "=" + row->value);
    }
    return shown;
  }

  void ShowTargets(const std::vector<std::string>& entries, int index) override {
    targets = entries;
    selected = index;
  }
  [[nodiscard]] int Connection() const override { return connection; }
  void SelectConnection(int index) override { connection = index; }
  void HideRows() override { rows = {}; }
  void ShowRow(int index, const net::ConnectionRow& row) override { rows[static_cast<std::size_t>(index) - 1] = row; }
  [[nodiscard]] std::string RowText(int index) const override {
    return rows[static_cast<std::size_t>(index) - 1]->value;
  }
  void SetRowText(int index, const std::string& text) override { Row(index).value = text; }
  [[nodiscard]] bool DefaultExclude() const override { return excluded; }
  void SetDefaultExclude(bool value) override { excluded = value; }
  void EnableView(bool enabled) override { viewEnabled = enabled; }
  void ShowFtpDirCommand(bool shown) override { ftpDirShown = shown; }
  void EnableSave(bool enabled) override { saveEnabled = enabled; }
  void CheckAcceptNetConn(bool checked) override { acceptChecked = checked; }
  void CheckConfirm(bool checked) override { confirmChecked = checked; }
  void CloseLogWindow() override { logOpen = false; }
  void CloseWindow() override { ++closed; }
};

}  // namespace zelkor::tests
