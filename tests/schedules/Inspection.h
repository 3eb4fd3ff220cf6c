#pragma once

#include "Computer.h"

namespace teskal::test {

/// Holds what can be seen at a computer, in its files and at the service against what was asked; problems go
/// to the computer's ledger.
class Inspection {
public:
    explicit Inspection(Computer& computer) : computer_(computer), ledger_(computer.ledger) {}

    /// What the application has and shows.
    void check();
    void checkFiles();
    void checkService();
    /// No token was used for what belongs to two accounts.
    void checkRequests();

private:
    void checkChats();
    void checkFolders();
    void checkShown();
    void checkDraft();

    Computer& computer_;
    Ledger& ledger_;
};

} // namespace teskal::test
