// SPDX-License-Identifier: Apache-2.0
//
// A service: one platform function of the scripted device. It answers from the world by default,
// tells each call to the journal, and can be overruled by a test:
//
//   on(ifsvc_is_linkup).answers(0);                            every call
//   on(ifsvc_is_linkup).of(7).answers(2);                      calls whose first argument is 7
//   on(ifsvc_get_iod_frm_ifindex).of(0x1a000007).answers(0, 9) the result, then the outputs
//   on(idxsvc_lib_ifidx_to_di).fails_once(0x41);               the next call only
//   on(ht_insert).of("Pi").fails();                            a table goes by its name
//   on(ifsvc_is_linkup).does([](uint32_t iod) { ... });        anything at all
//
// Which rule speaks: the oldest one that is for a single call and whose turn has come, else the
// newest lasting one, else the world.
#pragma once

#include "journal.h"
#include "service_text.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace scripted
{

using function_address = void (*)();

// What a function without a result answers.
struct nothing {
};
template <typename Result>
using answer_of = std::conditional_t<std::is_void_v<Result>, nothing, Result>;

// The part of a service that does not depend on its signature; registers itself by the address of
// its platform function.
class SCRIPTED_API service_base
{
public:
    service_base(function_address function, const char *name, family kind);
    service_base(const service_base &) = delete;
    service_base &operator=(const service_base &) = delete;
    virtual ~service_base();
    void drop_rules();

    const char *name() const { return name_; }
    family kind() const { return kind_; }
    unsigned long asked = 0; // calls since the last reset()

protected:
    // What a test said, as far as it does not depend on the signature.
    struct rule_base {
        rule_base(unsigned long passing, bool once) : passes(passing), single(once) {}
        virtual ~rule_base() = default;

        unsigned long passes; // matching calls that still go by
        bool single;          // for one call only
    };
    using rules = std::vector<std::shared_ptr<rule_base>>;

    // Takes back what the client library lent with its last answer.
    void begin_call();
    void keep(std::unique_ptr<rule_base> added);
    const rules &kept() const { return rules_; }
    // The one of those that are for this call that speaks; null when each lets it pass.
    std::shared_ptr<rule_base> take(const rules &matching);

private:
    const char *name_;
    family kind_;
    rules rules_;
    bool takes_back_; // a call of the interface manager's client ends the life of what it lent
};

SCRIPTED_API service_base &find_service(function_address function);
SCRIPTED_API void reset_services();

template <typename Signature>
class service;

template <typename Result, typename... Args>
class SCRIPTED_API service<Result(Args...)> final : public service_base
{
public:
    using behaviour = std::function<Result(Args...)>;
    using condition = std::function<bool(Args...)>;
    using teller = std::function<std::string(const Result &, Args...)>;

    // A function whose line is made from its letters.
    template <typename Function, typename Default>
    service(Function *function, const char *name, family kind, const char *letters, char result,
            Default usual)
        : service_base(reinterpret_cast<function_address>(function), name, kind), letters_(letters),
          result_(result), default_(as_behaviour(std::move(usual)))
    {
    }

    // A function that tells its line itself.
    template <typename Function, typename Default>
    service(Function *function, const char *name, family kind, teller tell, char result,
            Default usual)
        : service_base(reinterpret_cast<function_address>(function), name, kind), result_(result),
          tell_(tell), default_(as_behaviour(std::move(usual)))
    {
    }

    Result operator()(Args... args)
    {
        begin_call();
        const std::size_t line = open_line(kind());
        const Result result = kept().empty() ? default_(args...) : choose(args...)(args...);
        if (line != no_line)
            write_line(line, tell_ ? tell_(result, args...) : line_text(result, args...));
        return result;
    }

    Result by_default(Args... args) const { return default_(args...); }

    void add(condition when, behaviour act, unsigned long passes, bool single)
    {
        keep(std::unique_ptr<rule_base>(new rule(std::move(when), std::move(act), passes, single)));
    }

    Result failure() const
    {
        if constexpr (std::is_integral_v<Result>)
            return static_cast<Result>(result_ == 'c' ? 0x41 : 0);
        else if constexpr (std::is_same_v<Result, const char *>)
            return "";
        else
            return Result{};
    }

    void fail_outputs(Args... args) const { (fail_output(result_, args), ...); }

    template <typename Callable>
    static behaviour as_behaviour(Callable callable)
    {
        if constexpr (std::is_same_v<Result, nothing>)
            return [callable](Args... args) mutable { return callable(args...), nothing{}; };
        else
            return behaviour(std::move(callable));
    }

private:
    struct rule final : rule_base {
        rule(condition chosen, behaviour done, unsigned long passing, bool once)
            : rule_base(passing, once), when(std::move(chosen)), act(std::move(done))
        {
        }

        condition when;
        behaviour act;
    };

    // By value: a rule may be added or dropped by the very behaviour that runs.
    behaviour choose(Args... args)
    {
        rules matching;
        for (const auto &each : kept())
            if (const auto &when = static_cast<const rule &>(*each).when; !when || when(args...))
                matching.push_back(each);
        const auto chosen = take(matching);
        return chosen ? static_cast<const rule &>(*chosen).act : default_;
    }

    bool succeeded(const Result &result) const
    {
        if constexpr (std::is_integral_v<Result>)
            return result_ == 'c' ? result == 0 : result_ != 'o' || result == 1;
        else
            return true;
    }

    std::string result_text(const Result &result) const
    {
        if constexpr (std::is_same_v<Result, const char *>)
            return quoted(result);
        else if constexpr (std::is_integral_v<Result>)
            return result_ == 'b' && result != 0 ? "block" : number_text(result_, result);
        else
            return "?";
    }

    std::string line_text(const Result &result, Args... args) const
    {
        std::string inputs, outputs;
        const char *letter = letters_;
        (tell(*letter++, args, inputs, outputs), ...);
        std::string line = spell(name(), "(", inputs, ")");
        if constexpr (!std::is_same_v<Result, nothing>)
            line = spell(line, " = ", result_text(result));
        return succeeded(result) && !outputs.empty() ? spell(line, " -> ", outputs) : line;
    }

    template <typename Argument>
    static void tell(char letter, const Argument &argument, std::string &inputs,
                     std::string &outputs)
    {
        const bool is_request = letter == 'r';
        if (std::strchr("xdtmkr", letter) != nullptr)
            add_to_list(inputs, input_text(letter, argument));
        if (std::strchr("XDTMK", letter) != nullptr || is_request)
            add_to_list(outputs, output_text(letter, argument));
    }

    const char *letters_ = "";
    char result_ = 'd';
    teller tell_;
    behaviour default_;
};

template <typename Result, typename... Args, typename... Rest>
service(Result (*)(Args...), Rest...) -> service<answer_of<Result>(Args...)>;

// Hands the values to the outputs among the arguments, in order.
template <std::size_t At, typename Arguments>
void write_outputs(const Arguments &)
{
}
template <std::size_t At, typename Arguments, typename Value, typename... Rest>
void write_outputs(const Arguments &arguments, const Value &value, const Rest &...rest)
{
    static_assert(At < std::tuple_size_v<Arguments>, "more outputs given than the function has");
    if constexpr (!is_output<std::tuple_element_t<At, Arguments>>) {
        write_outputs<At + 1>(arguments, value, rest...);
    } else {
        std::uint32_t room = 0;
        if constexpr (std::is_same_v<std::tuple_element_t<At, Arguments>, char *>)
            room = std::get<At + 1>(arguments);
        write_output(std::get<At>(arguments), value, room);
        write_outputs<At + 1>(arguments, rest...);
    }
}

// What a test says to a service: about every call, or about the calls that `of` or `when` choose.
template <typename Result, typename... Args>
class script
{
public:
    using target = service<Result(Args...)>;

    explicit script(target &to, typename target::condition when = nullptr)
        : to_(&to), when_(std::move(when))
    {
    }

    // Only calls whose leading arguments are these.
    template <typename... Wanted>
    script of(Wanted... wanted) const
    {
        static_assert(sizeof...(Wanted) <= sizeof...(Args), "more arguments than the function has");
        return when([wanted...](Args... args) {
            const auto given = std::tuple<Args...>(args...);
            return same(given, std::tuple<Wanted...>(wanted...),
                        std::index_sequence_for<Wanted...>{});
        });
    }

    template <typename Condition>
    script when(Condition condition) const
    {
        if (!when_)
            return script(*to_, condition);
        return script(*to_, [both = when_, condition](Args... args) {
            return both(args...) && condition(args...);
        });
    }

    template <typename... Outputs>
    script &answers(Result result, Outputs... outputs)
    {
        return add(answering(result, outputs...), 0, false);
    }
    // One call; several of them answer in turn.
    template <typename... Outputs>
    script &answers_once(Result result, Outputs... outputs)
    {
        return add(answering(result, outputs...), 0, true);
    }

    script &fails() { return fails(to_->failure()); }
    script &fails(Result code) { return add(failing(code), 0, false); }
    script &fails_once() { return fails_once(to_->failure()); }
    script &fails_once(Result code) { return add(failing(code), 0, true); }
    // The first n calls pass, all later ones fail.
    script &fails_after(unsigned long n) { return fails_after(n, to_->failure()); }
    script &fails_after(unsigned long n, Result code) { return add(failing(code), n, false); }
    // Only the n-th call from now fails, counted from 1.
    script &fails_call(unsigned long n) { return fails_call(n, to_->failure()); }
    script &fails_call(unsigned long n, Result code) { return add(failing(code), n - 1, true); }

    template <typename Callable>
    script &does(Callable callable)
    {
        return add(target::as_behaviour(std::move(callable)), 0, false);
    }
    template <typename Callable>
    script &does_once(Callable callable)
    {
        return add(target::as_behaviour(std::move(callable)), 0, true);
    }

    // What the world would answer; for use within `does`. Not recorded.
    Result by_default(Args... args) const { return to_->by_default(args...); }
    // Calls since the last reset().
    unsigned long asked() const { return to_->asked; }
    // Takes back everything that was said to this service.
    void as_usual() { to_->drop_rules(); }

private:
    template <typename Given, typename Wanted, std::size_t... At>
    static bool same(const Given &given, const Wanted &wanted, std::index_sequence<At...>)
    {
        return (is_argument(std::get<At>(given), std::get<At>(wanted)) && ...);
    }

    template <typename... Outputs>
    static auto answering(Result result, Outputs... outputs)
    {
        return [result, outputs...](Args... args) {
            write_outputs<0>(std::tuple<Args...>(args...), outputs...);
            return result;
        };
    }

    auto failing(Result code) const
    {
        return [to = to_, code](Args... args) {
            to->fail_outputs(args...);
            return code;
        };
    }

    script &add(typename target::behaviour act, unsigned long passes, bool single)
    {
        to_->add(when_, std::move(act), passes, single);
        return *this;
    }

    target *to_;
    typename target::condition when_;
};

// The service behind a platform function.
template <typename Result, typename... Args>
script<answer_of<Result>, Args...> on(Result (*function)(Args...))
{
    auto &found = find_service(reinterpret_cast<function_address>(function));
    return script<answer_of<Result>, Args...>(
        static_cast<service<answer_of<Result>(Args...)> &>(found));
}

} // namespace scripted
