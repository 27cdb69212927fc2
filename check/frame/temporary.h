// Temporary files that go whatever ends the program.
#pragma once

/// Something of a check with a temporary file. A program that is ended at a question or a report runs no
/// destructors of the objects of the check that asked; so each is known by its place, and discarded at the
/// end.
class temporary {
public:
    temporary(const temporary &) = delete;
    temporary &operator=(const temporary &) = delete;

protected:
    temporary();
    virtual ~temporary();
    /// Deletes the file, if there is one. It must not end the program.
    virtual void discard() = 0;

private:
    friend class temporary_registry;
};
