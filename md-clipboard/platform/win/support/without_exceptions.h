// The boundary that lets no exception out to a COM caller.
#pragma once

#include <windows.h>

#include <new>

namespace sd::clip {

// Runs the body of an operation that an application calls through COM, which knows no exceptions.
template <class Body>
HRESULT callWithoutExceptions(Body body) noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

}  // namespace sd::clip
