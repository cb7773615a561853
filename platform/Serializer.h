#pragma once
#include <string>

// The host's field codec for flat text records. A record is a sequence of fields; serialize
// appends one, deserialize takes the first one off the front.
class Serializer {
public:
    // Appends `field` to `record`. With `escape` true the field is written so that the record holds
    // no line breaks and no ";" outside the length prefixes.
    static void serialize(std::string& record, const std::string& field, bool escape);
    // Moves the first field of `record` into `field` (with the same `escape` as written). An
    // exhausted or malformed record yields an empty field.
    static void deserialize(std::string& record, std::string& field, bool escape);
};
