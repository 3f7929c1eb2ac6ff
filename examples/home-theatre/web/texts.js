'use strict';

// What the page says. Both languages have the same keys.
const TEXTS = {
  en: {
    title: 'Home theatre',
    activity: 'Activity', film: 'Film', television: 'Television', music: 'Music', off: 'Off',
    lamps: 'Lamps', front: 'Front', rear: 'Rear', wall: 'Screen wall', stairs: 'Stairs',
    volume: 'Volume', louder: 'Louder', quieter: 'Quieter', mute: 'Mute',
    blinds: 'Blinds', up: 'Up', down: 'Down',
    scenes: 'Scenes', bright: 'Bright', dim: 'Dim', dark: 'Dark',
    connecting: 'Connecting to the controller …',
    away: 'The controller is away. Next try in %1 s.',
    trying: 'The controller is away. Trying …',
    retry: 'Try now',
  },
  zh: {
    title: '家庭影院',
    activity: '活动', film: '电影', television: '电视', music: '音乐', off: '关',
    lamps: '灯', front: '前灯', rear: '后灯', wall: '幕墙灯', stairs: '台阶灯',
    volume: '音量', louder: '增大音量', quieter: '减小音量', mute: '静音',
    blinds: '遮光帘', up: '上升', down: '下降',
    scenes: '灯光场景', bright: '明亮', dim: '柔和', dark: '黑暗',
    connecting: '正在连接控制器……',
    away: '控制器未连接。%1 秒后重试。',
    trying: '控制器未连接。正在重试……',
    retry: '立即重试',
  },
};

// What the program says, in its own words. One that is missing here is shown as it came.
const PROGRAM_TEXTS = {
  en: {},
  zh: {
    'The theatre is off': '影院已关闭',
    'One moment': '请稍候',
    'Film: ready': '电影：就绪',
    'Television: ready': '电视：就绪',
    'Music: ready': '音乐：就绪',
    'The projector is away': '投影机未连接',
    'The projector refuses our password': '投影机拒绝了密码',
    'The projector is warming up': '投影机正在预热',
    'The projector is cooling down': '投影机正在冷却',
    'The amplifier is away': '功放未连接',
    'The lights are away': '灯光控制器未连接',
    'The blinds do not move': '遮光帘不动',
  },
};
