/// The outcome of every data-model operation that can fail.
#pragma once

/// Zero is success. A code's English text comes from DmPSetHelper::getStrFromError.
enum [[nodiscard]] eDmErrorId : int{DM_NO_ERROR = 0,
                                    DM_PROPERTY_NOT_FOUND = 1,
                                    DM_PROPERTY_ALREADY_EXIST = 2,
                                    DM_EMPTY_ID = 3,
                                    DM_LISTENER_NOT_FOUND = 4,
                                    DM_BAD_PROPERTY_TYPE = 5,
                                    DM_PROPERTYSET_ALREADY_EXIST = 6,
                                    DM_LISTENER_IS_NULL = 7,
                                    DM_TYPE_NOT_IMPLEMENTED = 8,
                                    DM_BAD_INDEX = 9,
                                    DM_LISTENER_ALREADY_REGISTERED = 10,
                                    DM_NOT_ME = 11,
                                    DM_CANNOT_LOCK = 12,
                                    DM_CANNOT_UNLOCK = 13,
                                    DM_BAD_VALUE = 14,
                                    DM_BINARY_ERROR = 15};
