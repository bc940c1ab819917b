#pragma once

#include <functional>

namespace quillbox {

/// An operation, for its caller's thread, from before its worker thread is made until that is gone. When the program
/// ends, with exit() or by returning from main(), Qt's and OpenSSL's static objects go, and sockets with them: before
/// that, the operations that run are ended, and from then on none begins.
class RunningOperation {
public:
    RunningOperation();
    RunningOperation(const RunningOperation&) = delete;
    RunningOperation& operator=(const RunningOperation&) = delete;
    ~RunningOperation();

    /// Whether it may begin.
    bool mayBegin() const { return m_mayBegin; }
    /// Has @p end called, on another thread, when the program ends; null: no more. It is not called any more when this
    /// has returned.
    void setEnd(std::function<void()> end);

    /// Has what operations need outlive the static objects that the program makes from now on. Then they work in their
    /// destructors, too. Safe on any thread.
    static void prepareForTheEnd();
    /// Makes what operations need, and has them ended before it goes. A program may end in one thread while another
    /// begins its first operation: where that can be, this is called before main(). Safe on any thread.
    static void makeNeeds();

private:
    bool m_mayBegin = false;
};

} // namespace quillbox
