// The fault switch of the client layer: make the Nth call (of chosen kinds) fail with a given
// OrvX, so that the layers above can test their failure paths against the real layer.
#pragma once

#include <vexapi/orvcpp/orvx.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

namespace OrvCPP {

// The kinds of calls the switch counts.
enum FaultSite {
    faultConnect = 1,     // OrvConnect opening
    faultPrepare = 2,     // OrvStatement::create
    faultExecute = 4,     // OrvCursor::execute (text and statement)
    faultFetch = 8,       // OrvCursor::fetch and multiFetch
    faultRead = 16,       // OrvCursor::getData, getBlobLen, appendBlob
    faultTransaction = 32, // OrvCursor::commit and rollback
    faultAll = 63
};

// Process-wide and thread-safe. An injected failure happens before the call does anything,
// so the object and the database are as before; an asynchronous call reports it through
// its Handler like any other failure.
class VEXAPI_API FaultInjection {
public:
    // From now on, the `n`-th call (from 1) of one of `sites` fails with `error`; with
    // `repeat`, every such call from the `n`-th on fails. Counting starts at 0 here.
    static void arm(VLong n, const OrvX& error, int sites = faultAll, bool repeat = false);
    // Stops failing calls and counting.
    static void disarm();
    static bool isArmed();
    // Calls of the armed sites counted since `arm`.
    static VLong calls();
    // Failures injected since `arm`.
    static VLong failures();
};

namespace detail {
// Counts a call of `site`; true (and the error) when it must fail.
bool injectFault(int site, OrvX& error);
} // namespace detail

} // namespace OrvCPP
