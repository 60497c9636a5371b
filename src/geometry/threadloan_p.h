// Working space that a thread keeps from call to call, for the library's own hot paths.
#ifndef LIBUTILITY_GEOMETRY_THREADLOAN_P_H
#define LIBUTILITY_GEOMETRY_THREADLOAN_P_H

#include <memory>

namespace Util {
namespace detail {

/// Lends the calling thread's working space of type Space for the life of the loan, so
/// that call after call reuses its memory. A loan taken while the thread's space is
/// already lent (a call started from inside another, e.g. by a trace sink) gets a fresh
/// space of its own. When the loan ends, a space whose isLarge() says so is replaced by a
/// fresh one, so that one huge input does not pin its memory to the thread.
template <class Space> class ThreadLoan
{
public:
    ThreadLoan()
        : m_thread(&t_thread) // the thread-local object is looked up once per loan
        , m_own(m_thread->lent ? new Space : nullptr)
    {
        if (!m_own)
            m_thread->lent = true;
    }
    ~ThreadLoan()
    {
        if (m_own)
            return;
        if (m_thread->space.isLarge())
            m_thread->space = Space();
        m_thread->lent = false;
    }
    ThreadLoan(const ThreadLoan &) = delete;
    ThreadLoan &operator=(const ThreadLoan &) = delete;

    Space &space() { return m_own ? *m_own : m_thread->space; }

private:
    struct Slot
    {
        Space space;
        bool lent = false;
    };
    static thread_local Slot t_thread;
    Slot *m_thread;
    std::unique_ptr<Space> m_own;
};

template <class Space> thread_local typename ThreadLoan<Space>::Slot ThreadLoan<Space>::t_thread;

} // namespace detail
} // namespace Util

#endif
