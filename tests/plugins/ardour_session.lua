-- Run by ardour7-lua for tests/plugins/ardour_links.sh, on Ardour's dummy backend.
--   ZK_MODE=save  a new session in ZK_DIR with a stereo track "eq" and the plug-in
--                 ZK_PLUGIN (ZK_TYPE LV2 or VST3); "LF L Gain" set to 6; saved.
--   ZK_MODE=load  that session loaded; saved again as the snapshot "reloaded".
-- Both print what the host holds for "LF L Gain" and "LF R Gain" (its control and
-- the plug-in parameter Ardour keeps), the name under which Ardour's GUI keeps the
-- plug-in's window in the session ("zk: window P-<route>-<plug-in>"), then "zk: done".

ARDOUR.config():set_hide_dummy_backend(false)
assert(AudioEngine:set_backend("None (Dummy)", "", ""), "no dummy backend")
local mode, dir = os.getenv("ZK_MODE"), os.getenv("ZK_DIR")

local proc
if mode == "save" then
  assert(create_session(dir, "zk", 48000), "session not created")
  local track = Session:new_audio_track(2, 2, nil, 1, "eq", ARDOUR.PresentationInfo.max_order,
                                        ARDOUR.TrackMode.Normal, true):front()
  local kind = os.getenv("ZK_TYPE") == "VST3" and ARDOUR.PluginType.VST3 or ARDOUR.PluginType.LV2
  proc = ARDOUR.LuaAPI.new_plugin(Session, os.getenv("ZK_PLUGIN"), kind, "")
  assert(not proc:isnil(), "plug-in not found: " .. os.getenv("ZK_PLUGIN"))
  assert(track:add_processor_by_index(proc, 0, nil, true) == 0, "plug-in not added")
else
  assert(load_session(dir, "zk"), "session not loaded")
  proc = Session:route_by_name("eq"):nth_plugin(0)
  assert(not proc:isnil(), "no plug-in in the loaded session")
end

local plugin = proc:to_insert():plugin(0)
-- The parameter number (what LuaAPI takes) and the port id of a labelled input.
local function find(label)
  for n = 0, plugin:parameter_count() - 1 do
    local id = plugin:nth_parameter(n, true)
    if plugin:parameter_is_input(id) and plugin:parameter_label(id) == label then
      return n, id
    end
  end
  error("no parameter " .. label)
end

local function show()
  for _, label in ipairs({"LF L Gain", "LF R Gain"}) do
    local n, id = find(label)
    local control = proc:to_automatable():automation_control(
      Evoral.Parameter(ARDOUR.AutomationType.PluginAutomation, 0, id), false)
    print(string.format("zk: %s = %g %g", label, control:get_value(),
                        (ARDOUR.LuaAPI.get_processor_param(proc, n, true))))
  end
end

-- Let the engine run the plug-in for a while before and after the change, so that
-- whatever the plug-in reports back has reached the host.
ARDOUR.LuaAPI.usleep(300000)
if mode == "save" then
  assert(ARDOUR.LuaAPI.set_processor_param(proc, (find("LF L Gain")), 6), "LF L Gain not set")
  ARDOUR.LuaAPI.usleep(500000)
end
show()
print(string.format("zk: window P-%s-%s", Session:route_by_name("eq"):to_stateful():id():to_s(),
                    proc:to_stateful():id():to_s()))
local snapshot = mode == "save" and "" or "reloaded"
assert(Session:save_state(snapshot, false, false, false, false, false) == 0, "not saved")
print("zk: done")
