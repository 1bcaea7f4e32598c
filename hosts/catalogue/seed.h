// The clock that the library seeds its random numbers with, held still for a host that wants the
// same picture again. Private to this folder.
#ifndef CATALOGUE_SEED_H
#define CATALOGUE_SEED_H

// For calls of this thread, until ReleaseSeedClock.
void HoldSeedClock(unsigned int seconds);
void ReleaseSeedClock();

#endif
