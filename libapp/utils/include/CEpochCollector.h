/// @file CEpochCollector.h  Whole epochs of a receiver's log, one at a time.
///
/// The receiver may send an epoch in several messages. The decoder gathers them in its record and tells DECODE_OBS for
/// each of them; that an epoch was whole only the first message of the next one tells, which takes its place in the
/// record. A collector keeps a copy until then, whichever way the log is fed:
///
///     CEpochCollector epochs;
///     for (int kind; (kind = input_korvexf(raw.get(), log, 0)) != DECODE_EOF;)
///         if (const raw_t* epoch = epochs.Add(raw.get(), kind)) WriteRinexObsRec(obs, epoch, &options, 0.0);
///     if (const raw_t* epoch = epochs.Flush()) WriteRinexObsRec(obs, epoch, &options, 0.0);
#ifndef CEPOCHCOLLECTOR_H
#define CEPOCHCOLLECTOR_H

#include <rtk_gnss.h>

#include <memory>

#include "rtk_utils_api.h"

/// Puts the messages of an epoch together.
///
/// What it hands out is the record as it was behind the epoch's last message: week and tow, observations, ionosphere,
/// leap seconds, texts, position, antenna, options. Ephemerides, the stop-and-go block, lock tables, the time filter
/// and the state of the framing stay with the decoder's record and are not copied.
///
/// One thread per collector. Memory is taken once, by the constructor; nothing else allocates or throws.
class RTK_UTILS_API CEpochCollector {
public:
    /// @throws std::bad_alloc  there is no memory for two records
    CEpochCollector() : m_pHeld(std::make_unique<raw_t>()), m_pWhole(std::make_unique<raw_t>()) {}

    /// Takes the record after a call that fed it.
    ///
    /// @param raw   decoder's record, which is copied
    /// @param kind  what that call returned; only DECODE_OBS counts
    /// @return the epoch before, whole now, valid until the next one is; null: there is none yet
    const raw_t* Add(const raw_t* raw, int kind) noexcept;

    /// Hands out the epoch in hand without waiting for the next one: at the end of a log, before what must stand
    /// behind it in a file, or when a receiver has been silent for a while.
    ///
    /// @return the epoch, as Add returns it; null: none is in hand
    /// @note What comes of the same epoch afterwards makes an epoch of the same time, with all that came.
    const raw_t* Flush() noexcept;

    /// Tells whether an epoch waits for its end.
    ///
    /// @return true: Flush() would hand one out
    bool Pending() const noexcept { return m_bPending; }

    /// Tells whether the observations of a record belong to the epoch in hand.
    ///
    /// @param raw  decoder's record; null belongs to none
    /// @return true: it has that epoch's week, its time to 1.5 ms, and its satellites in their places
    bool Continues(const raw_t* raw) const noexcept;

    /// Gives away the record of the epoch that Add or Flush returned last.
    ///
    /// @param record  in: takes its place, its contents are of no concern; out: the epoch. Null: nothing happens
    void Exchange(std::unique_ptr<raw_t>& record) noexcept;

private:
    std::unique_ptr<raw_t> m_pHeld, m_pWhole;
    bool m_bPending = false;
};

#endif
