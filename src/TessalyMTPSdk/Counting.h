#pragma once
// The engine's counters (Engine.h's counters()).

namespace mtp {

/// One more MTP transaction. Any thread.
void countTransaction();

} // namespace mtp
