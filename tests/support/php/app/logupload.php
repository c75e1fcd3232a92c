<?php
// Records the form as PHP's parser has read it. What need not be text is in Base64.
$folder = getenv('CORVANE_RECORDS');
$file = $_FILES['upload_file_minidump'];
$seen = [
    'agent' => $_SERVER['HTTP_USER_AGENT'],
    'fields' => array_keys($_POST),
    'files' => array_keys($_FILES),
    'msg' => base64_encode($_POST['msg']),
    'file_name' => base64_encode($_POST['file_name']),
    'name' => $file['name'],
    'type' => $file['type'],
    'error' => $file['error'],
    'content' => base64_encode(file_get_contents($file['tmp_name'])),
];
file_put_contents("$folder/app/logupload.json", json_encode($seen, JSON_THROW_ON_ERROR));
echo 'received';
