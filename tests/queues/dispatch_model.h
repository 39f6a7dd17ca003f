// The dispatch queue written down a second time, rule by rule and with no care for speed: what the
// library must do, whatever its callbacks call.
#pragma once

#include <q32base.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace q32::test {

// What can be asked of a dispatch queue, be it the library's or the model.
class Dispatcher {
public:
    virtual ~Dispatcher() = default;
    virtual int add(uint32_t owner, const RECT &rectangle, bool replace, int mode,
                    const DispatchDesc &description) = 0;
    virtual int dispatch() = 0;
    virtual int remove(uint32_t owner) = 0;
    virtual uint32_t current() = 0;
    virtual std::vector<RECT> current_rectangles() = 0;
    virtual int is_in_queue(uint32_t owner, bool wait) = 0;
    virtual int set_end(uint32_t owner, const RECT &rectangle, const RECT &end) = 0;
    virtual int set_first_service(uint32_t owner) = 0;
};

class DispatchModel : public Dispatcher {
public:
    int add(uint32_t owner, const RECT &rectangle, bool replace, int mode,
            const DispatchDesc &description) override;
    int dispatch() override;
    int remove(uint32_t owner) override;
    uint32_t current() override { return current_ ? current_->owner : 0; }
    std::vector<RECT> current_rectangles() override;
    int is_in_queue(uint32_t owner, bool wait) override;
    int set_end(uint32_t owner, const RECT &rectangle, const RECT &end) override;
    int set_first_service(uint32_t owner) override;

private:
    struct Request {
        uint32_t owner;
        RECT rectangle, end;
        int mode;
        DispatchDesc description;
        int priority;
        unsigned ticket;         // of this entry of the table and no other
        bool begins;             // being told that it begins: not chosen again meanwhile
        bool is_nothing() const; // no tiles or bands to be made
    };
    struct Running : Request {
        unsigned serial;         // of this job and no other
        std::vector<RECT> tiles; // all of them
        long long next, last;    // places among the tiles, or numbers of steps
        bool done;               // no step is left to be made
        bool ending;             // it is being told that it ends
    };

    // What calls a callback: afterwards the current job may be another, or none.
    void send(int message, intptr_t parameter, int *reply = nullptr);
    void begin(const Request &request);
    // Begins the next waiting job in place of the current one. Its serial, or 0: there is none, and
    // nothing has been changed. The job stays in the table until it has been told that it begins,
    // where it does not begin again, and gets the end rectangle that it has there only then, unless
    // the callback has ended or replaced it.
    unsigned begin_next(uint32_t preferred);
    void begin_or_next(const Request &request);
    // False: it is no longer current.
    bool tell_end();
    void end();

    bool is_current(unsigned serial) const { return current_ && current_->serial == serial; }
    std::optional<Request> *free_place();
    void set_priority(uint32_t owner, int priority);
    void take_out(uint32_t owner);
    // Makes steps as long as this owner is the current one.
    void work_off(uint32_t owner);

    std::array<std::optional<Request>, 16> table_;
    std::optional<Running> current_;
    uint32_t first_service_ = 0;
    unsigned serials_ = 0, tickets_ = 0;
};

} // namespace q32::test
