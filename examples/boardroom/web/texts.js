'use strict';

// What the page says. Both languages have the same keys.
const TEXTS = {
  en: {
    title: 'Boardroom',
    power: 'Power', on: 'On', off: 'Off',
    sources: 'Sources', source1: 'Laptop', source2: 'Room PC', source3: 'Player', source4: 'Camera',
    volume: 'Volume', louder: 'Louder', quieter: 'Quieter', mute: 'Mute',
    screen: 'Screen', up: 'Up', stop: 'Stop', down: 'Down',
    presets: 'Presets',
    connecting: 'Connecting to the controller …',
    away: 'The controller is away. Next try in %1 s.',
    trying: 'The controller is away. Trying …',
    retry: 'Try now',
  },
  zh: {
    title: '会议室',
    power: '电源', on: '开', off: '关',
    sources: '信号源', source1: '笔记本电脑', source2: '会议室电脑', source3: '播放器', source4: '摄像机',
    volume: '音量', louder: '增大音量', quieter: '减小音量', mute: '静音',
    screen: '投影幕', up: '上升', stop: '停止', down: '下降',
    presets: '场景',
    connecting: '正在连接控制器……',
    away: '控制器未连接。%1 秒后重试。',
    trying: '控制器未连接。正在重试……',
    retry: '立即重试',
  },
};

// What the program says, in its own words: names of presets, and texts of the status line. One that is missing here is
// shown as it came.
const PROGRAM_TEXTS = {
  en: {},
  zh: {
    'The room is off': '会议室已关闭',
    'The projector is warming up': '投影机正在预热',
    'Ready': '就绪',
    'The projector is cooling down': '投影机正在冷却',
    'Please wait until the projector has cooled down': '请等待投影机冷却完毕',
    'Switch the room on first': '请先打开会议室',
    'Presentation': '演示',
    'Film': '影片',
    'Meeting': '会议',
    'Preset Presentation': '场景：演示',
    'Preset Film': '场景：影片',
    'Preset Meeting': '场景：会议',
  },
};
