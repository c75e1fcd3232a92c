<?php
// Answers with the version that the test has written, and records what it was asked.
$folder = getenv('CORVANE_RECORDS');
$seen = ['method' => $_SERVER['REQUEST_METHOD'], 'app' => $_GET['app']];
file_put_contents("$folder/update_check.json", json_encode($seen, JSON_THROW_ON_ERROR));
header('Content-Type: application/json');
readfile("$folder/version.json");
