#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

/// One field of a storage record, as its pair of accessors shows it. Values are compared as texts.
template <typename Record> struct RecordField {
    std::string name;
    std::string initial; ///< in a record just made
    std::string changed; ///< after `change`
    bool constGetter;
    bool text;            ///< the getter returns a string
    std::size_t slots[2]; ///< of getter and setter in the table of virtual operations
    std::function<std::string(Record &)> read;
    std::function<void(Record &)> change;
};

/// The place of a virtual operation in its class's table, as a pointer to a member holds it in the
/// C++ ABI of the supported processors. Whoever derives from a record relies on these places.
template <typename Member> std::size_t slot_of(Member member) {
    static_assert(std::is_member_function_pointer_v<Member>);
    std::ptrdiff_t words[2];
    static_assert(sizeof member == sizeof words);
    std::memcpy(words, &member, sizeof words);
#if defined(__aarch64__) || defined(__arm__)
    EXPECT_EQ(words[1] & 1, 1) << "not virtual";
    return static_cast<std::size_t>(words[0]) / sizeof(void *);
#else
    EXPECT_EQ(words[0] & 1, 1) << "not virtual";
    return static_cast<std::size_t>(words[0] - 1) / sizeof(void *);
#endif
}

inline std::string as_text(const std::string &value) {
    return value;
}
template <typename Number> std::string as_text(Number value) {
    if constexpr (std::is_enum_v<Number>)
        return std::to_string(static_cast<unsigned>(value));
    else
        return std::to_string(value);
}

template <typename Record, typename Getter, typename Setter, typename Value>
RecordField<Record> make_field(const char *name, Getter get, Setter set, Value initial,
                               Value changed, bool constGetter) {
    return {name,
            as_text(initial),
            as_text(changed),
            constGetter,
            std::is_same_v<Value, std::string>,
            {slot_of(get), slot_of(set)},
            [get](Record &record) { return as_text((record.*get)()); },
            [set, changed](Record &record) { (record.*set)(changed); }};
}
/// A field by its accessors, its value in a new record and one that differs.
template <typename Record, typename Base, typename Value>
RecordField<Record> field(const char *name, Value (Base::*get)() const, void (Base::*set)(Value),
                          std::type_identity_t<Value> initial,
                          std::type_identity_t<Value> changed) {
    return make_field<Record>(name, get, set, initial, changed, true);
}
template <typename Record, typename Base, typename Value>
RecordField<Record> field(const char *name, Value (Base::*get)(), void (Base::*set)(Value),
                          std::type_identity_t<Value> initial,
                          std::type_identity_t<Value> changed) {
    return make_field<Record>(name, get, set, initial, changed, false);
}

/// A new record has each field's first value; a setter changes its own field alone; a copy, made by
/// either way, keeps what it had when its source changes and goes away.
template <typename Record> void expectFields(const std::vector<RecordField<Record>> &fields) {
    for (const auto &one : fields) {
        SCOPED_TRACE(one.name);
        EXPECT_NE(one.initial, one.changed);
        Record assigned;
        Record copied = [&] {
            Record record;
            EXPECT_EQ(one.read(record), one.initial);
            one.change(record);
            for (const auto &other : fields)
                EXPECT_EQ(other.read(record), &other == &one ? other.changed : other.initial)
                    << other.name;
            assigned = record;
            Record copy(record);
            record = Record();
            EXPECT_EQ(one.read(record), one.initial);
            return copy;
        }();
        EXPECT_EQ(one.read(copied), one.changed);
        EXPECT_EQ(one.read(assigned), one.changed);
    }
    Record source;
    for (const auto &one : fields) one.change(source);
    Record copy(source);
    source = Record();
    for (const auto &one : fields) EXPECT_EQ(one.read(copy), one.changed) << one.name;
}

/// Getters of texts are const, but getSlot; of the others, only the two named are.
template <typename Record> void expectConstGetters(const std::vector<RecordField<Record>> &fields) {
    for (const auto &one : fields) {
        const bool listed = one.name == "lastRecoveryTimestamp" || one.name == "OSSGHandle";
        EXPECT_EQ(one.constGetter, one.name == "slot" ? false : one.text || listed) << one.name;
    }
}

/// The operations of these fields stand one behind the other in the table, getter before setter.
/// @param first  the place of the first field's getter
template <typename Record>
void expectSlots(const std::vector<RecordField<Record>> &fields, std::size_t first) {
    for (const auto &one : fields) {
        EXPECT_EQ(one.slots[0], first++) << one.name;
        EXPECT_EQ(one.slots[1], first++) << one.name;
    }
}
/// Places of the operations that each record has before its own: two views, two of a destructor.
constexpr std::size_t ROOT_SLOTS = 4;
/// Those and the eight of a status, where that is the first base.
constexpr std::size_t STATUS_SLOTS = ROOT_SLOTS + 8;

/// The fields of a status, for a record that has one.
template <typename Record> std::vector<RecordField<Record>> status_fields() {
    return {
        field<Record>("state", &Record::getState, &Record::setState, ORB_STATE_UNKNOWN,
                      ORB_STATE_RUNNING),
        field<Record>("health", &Record::getHealth, &Record::setHealth, ORB_HEALTH_UNKNOWN,
                      ORB_HEALTH_OK),
        field<Record>("eventState", &Record::getEventState, &Record::setEventState,
                      ORB_STATE_UNKNOWN, ORB_STATE_FAILED),
        field<Record>("eventHealth", &Record::getEventHealth, &Record::setEventHealth,
                      ORB_HEALTH_UNKNOWN, ORB_HEALTH_WARNING),
    };
}

/// Both lists in one.
template <typename Record>
std::vector<RecordField<Record>> operator+(std::vector<RecordField<Record>> left,
                                           const std::vector<RecordField<Record>> &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}
