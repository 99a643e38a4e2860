#include "workthread/future_error_number.h"

namespace sd::clip {

int futureErrorNumber(const std::future_error& error)
{
    switch (static_cast<std::future_errc>(error.code().value())) {
        case std::future_errc::broken_promise:
            return 1;
        case std::future_errc::future_already_retrieved:
            return 2;
        case std::future_errc::promise_already_satisfied:
            return 3;
        case std::future_errc::no_state:
            return 4;
    }
    return error.code().value();
}

}  // namespace sd::clip
