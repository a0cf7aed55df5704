// SPDX-License-Identifier: Apache-2.0
#pragma once

// Tells an operation whether memory was refused while it ran.  The buffers leave their content
// as it was when they cannot grow and the work goes on without the missing piece; an
// operation that must not pass such a result off as whole asks here at its end.

namespace mimetree::inner {

class MemoryWatch {
public:
    MemoryWatch() : m_before(refusals()) {}

    // True when a growth or an object was refused on this thread since the watch began.
    bool wasRefused() const { return refusals() != m_before; }

    // Called wherever memory is refused.
    static void noteRefusal();

private:
    static unsigned refusals();

    const unsigned m_before;
};

// Passes on what `new (std::nothrow)` gave, a null noted as a refusal.
template <class T>
T* notingRefusal(T* made) {
    if (!made) MemoryWatch::noteRefusal();
    return made;
}

}  // namespace mimetree::inner
