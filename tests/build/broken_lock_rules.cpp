// What scripts/check-locks must find. The comments say what clang complains of, and what else is found; nothing else is
// to be complained of. Not compiled otherwise.
#include "base/annotated_mutex.h"

namespace {

class Account {
public:
    int balance() const
    {
        return mBalance;  // expected-error {{reading variable 'mBalance' requires holding mutex 'mMutex'}}
    }
    int lockedBalance() const
    {
        const sd::clip::LockScope lock(mMutex);
        return mBalance;
    }

    void add(int amount)
    {
        const sd::clip::LockScope lock(mMutex);
        const sd::clip::UnlockScope unlock(mMutex);
        mBalance += amount;  // expected-error {{writing variable 'mBalance' requires holding mutex}}
    }
    void addLocked(int amount) CLIP_REQUIRES(mMutex)
    {
        mBalance += amount;
    }
    void addTwice(int amount)
    {
        addLocked(amount);  // expected-error {{calling function 'addLocked' requires holding mutex}}
        const sd::clip::LockScope lock(mMutex);
        addLocked(amount);
    }

    void tell() CLIP_EXCLUDES(mMutex) {}
    void tellUnderTheLock()
    {
        const sd::clip::LockScope lock(mMutex);
        tell();  // expected-error {{cannot call function 'tell' while mutex 'mMutex' is held}}
    }

    void logTheWrongWayRound()
    {
        const sd::clip::LockScope log(mLogMutex);
        const sd::clip::LockScope lock(mMutex);  // expected-error {{must be acquired before 'mLogMutex'}}
        addLocked(1);
    }
    void log()
    {
        const sd::clip::LockScope lock(mMutex);
        const sd::clip::LockScope log(mLogMutex);
        addLocked(1);
    }

private:
    mutable sd::clip::Mutex mMutex CLIP_ACQUIRED_BEFORE(mLogMutex);
    sd::clip::Mutex mLogMutex;
    int mBalance CLIP_GUARDED_BY(mMutex) = 0;
    int mOwner = 0;  // find_unexplained_members
    int mCurrency CLIP_UNGUARDED("constant") = 0;
    std::mutex mutex;  // find_hidden_locks
};

}  // namespace
