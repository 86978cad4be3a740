#pragma once

class OrvelQTProxy;

/// Whether the facade that signals are emitted on exists. The facade is a function-local static, so
/// at the end of the process it may go while stage threads still report.
namespace orvel::facadeLife {

/// The facade was constructed; it is what signals are emitted on from now on.
void began(OrvelQTProxy* facade);
/// The facade is about to go; waits for emissions that are under way.
void ended(OrvelQTProxy* facade) noexcept;

}  // namespace orvel::facadeLife
