#pragma once

class RunLoop;

namespace quillbox {

/// An operation on streams, on its worker thread. When the program ends, with exit() or by returning from main(), Qt's
/// own static objects go, and sockets with them: before that, the operations that run are ended, and from then on none
/// begins.
class RunningOperation {
public:
    /// For the calling thread.
    RunningOperation();
    RunningOperation(const RunningOperation&) = delete;
    RunningOperation& operator=(const RunningOperation&) = delete;
    ~RunningOperation();

    /// Whether it may begin.
    bool mayBegin() const { return m_loop != nullptr; }

    /// Has the present static objects of Qt outlive those that the program makes from now on. Then operations work in
    /// their destructors, too. Safe on any thread.
    static void prepareForTheEnd();

private:
    RunLoop* m_loop = nullptr;
};

} // namespace quillbox
