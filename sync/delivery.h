// The ways by which a finished sync file leaves this computer: a folder or medium, the network, an FTP server.
#pragma once

#include <memory>
#include <string>

#include "sync/context.h"

namespace zelkor::sync {

class Delivery {
 public:
  Delivery() = default;
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;
  virtual ~Delivery() = default;

  // Finds out where the file goes, before it is written. False, after a message, when that can not be.
  virtual bool ChooseDestination() = 0;
  // Whether this very file, which is not written yet, is to last as what is delivered.
  [[nodiscard]] virtual bool Keeps(TemporarySyncFile& /*file*/) const { return false; }
  // False, after a message or a line of the log, when the file did not arrive, or not in Vandry's hands.
  virtual bool Deliver(TemporarySyncFile& file) = 0;
  // The address of a computer that will confirm its import, which then stores the export date; empty: the delivery is
  // the end of it.
  [[nodiscard]] virtual std::string ConfirmedFrom() const { return {}; }
};

// By the target's connection type; `place` stands in for its folder, address or server.
[[nodiscard]] std::unique_ptr<Delivery> DeliveryTo(Context& context, const net::TargetRec& target, const Place& place);
// Over the network, to the address, whatever the target's connection type.
[[nodiscard]] std::unique_ptr<Delivery> DeliveryByNetwork(Context& context, const net::TargetRec& target,
                                                          const std::string& address);

}  // namespace zelkor::sync
