# Rewrites DPF's generated <plug-in>_dsp.ttl for hosts that read it strictly.
# Running it twice changes nothing more.
#   cmake -DTTL=<bundle>/<name>_dsp.ttl -P Lv2DspTtl.cmake
#
# - No host feature is required: the LV2 entry (Lv2Entry.cpp) stands in for
#   options, URID map and worker when a host has none, and the control-input-port
#   change request is used only where a host offers it.
# - The editor's event ports are optional to connect: the LV2 entry connects
#   stand-ins first (GStreamer connects no atom port).
# - Labelled values (scale points) only on enumerations: a host that makes every
#   labelled control a choice of its labels (GStreamer) would otherwise give a gain
#   labelled "-oo" at -100 dB no other value, and start it there. Hosts still get
#   those texts through CLAP and VST3 and the editor shows them.
# - The audio outputs get a port group of their own: DPF puts inputs and outputs
#   in one group, which a host that makes one stream of each group (GStreamer)
#   takes as a plug-in with one input and no output.
file(READ "${TTL}" ttl)
set(indent "\n                        ")
set(change_request "<http://kx.studio/ns/lv2ext/control-input-port-change-request>")

set(required "")
if(ttl MATCHES "[ \t]*lv2:requiredFeature ([^;]*);[ \t]*\n[ \t]*\n?")
    string(REPLACE "${CMAKE_MATCH_0}" "" ttl "${ttl}")
    string(REGEX REPLACE "[ \t\n]*,[ \t\n]*" ";" required "${CMAKE_MATCH_1}")
    string(STRIP "${required}" required)
endif()

if(NOT ttl MATCHES "lv2:optionalFeature ([^;]*);")
    message(FATAL_ERROR "${TTL}: no lv2:optionalFeature statement to extend")
endif()
set(statement "${CMAKE_MATCH_0}")
string(STRIP "${CMAKE_MATCH_1}" optional)
if(NOT optional MATCHES "control-input-port-change-request")
    list(APPEND required "${change_request}")
endif()
foreach(feature IN LISTS required)
    string(APPEND optional " ,${indent}${feature}")
endforeach()
string(REPLACE "${statement}" "lv2:optionalFeature ${optional} ;" ttl "${ttl}")
# The change request's vocabulary has no published schema: say what it is.
string(FIND "${ttl}" "${change_request}\n    a lv2:Feature" typed)
if(typed EQUAL -1)
    string(APPEND ttl "\n${change_request}\n    a lv2:Feature .\n")
endif()

string(FIND "${ttl}" "lv2:portProperty lv2:connectionOptional ;\n        atom:bufferType" optional_events)
if(optional_events EQUAL -1)
    string(REGEX REPLACE "(atom:AtomPort ;[^]]*)(atom:bufferType)"
           "\\1lv2:portProperty lv2:connectionOptional ;\n        \\2" ttl "${ttl}")
endif()

string(REPLACE "lv2:portProperty lv2:enumeration ;\n        lv2:scalePoint"
       "lv2:portProperty lv2:enumeration ;\n        ZK_ENUMERATION_POINTS" ttl "${ttl}")
string(REGEX REPLACE "lv2:scalePoint \\[[^]]*\\]( ,[ \n]*\\[[^]]*\\])* ;\n[ ]*" "" ttl "${ttl}")
string(REPLACE "ZK_ENUMERATION_POINTS" "lv2:scalePoint" ttl "${ttl}")

# Output audio ports: <uri#portGroup_dpf_X> becomes <uri#portGroup_dpf_X_out>
# (a match cannot leave its port's brackets).
string(REGEX REPLACE "(a lv2:OutputPort, lv2:AudioPort ;[^]]*pg:group <[^>]*#portGroup_dpf_[a-z]+)>"
       "\\1_out>" ttl "${ttl}")
string(REGEX MATCHALL "pg:group <[^>]*#portGroup_dpf_[a-z]+_out>" used "${ttl}")
set(groups "")
foreach(match IN LISTS used)
    string(REGEX REPLACE "pg:group <(.*)_out>" "\\1" group "${match}")
    list(APPEND groups "${group}")
endforeach()
list(REMOVE_DUPLICATES groups)
foreach(group IN LISTS groups)
    string(FIND "${ttl}" "<${group}_out>\n    a pg:OutputGroup" done)
    if(NOT done EQUAL -1)
        continue()
    endif()
    if(NOT ttl MATCHES "<${group}>\n    a pg:Group , (pg:[A-Za-z]+) ;\n    lv2:name \"([^\"]*)\" ;\n    lv2:symbol \"([^\"]*)\" \\.")
        message(FATAL_ERROR "${TTL}: no definition of the port group ${group}")
    endif()
    set(kind "${CMAKE_MATCH_1}")
    set(name "${CMAKE_MATCH_2}")
    set(symbol "${CMAKE_MATCH_3}")
    string(REPLACE "${CMAKE_MATCH_0}"
        "<${group}>\n    a pg:InputGroup , ${kind} ;\n    lv2:name \"${name}\" ;\n    lv2:symbol \"${symbol}\" .\n\n<${group}_out>\n    a pg:OutputGroup , ${kind} ;\n    lv2:name \"${name} output\" ;\n    lv2:symbol \"${symbol}_out\" ;\n    pg:source <${group}> ."
        ttl "${ttl}")
endforeach()
file(WRITE "${TTL}" "${ttl}")
